// What was reported, in an SQLite file that a developer may look into. Whether a report is accepted is
// Endpoints' to say.
#include "service/EventArchive.h"

#include <chrono>
#include <stdexcept>

namespace lumora::service {
namespace {

// A development service would rather lose its last second in a power cut than wait for the disk.
constexpr const char* kSchema = R"(
  PRAGMA journal_mode = WAL;
  PRAGMA synchronous = OFF;
  CREATE TABLE IF NOT EXISTS events (
    id INTEGER PRIMARY KEY, account TEXT NOT NULL, uuid TEXT NOT NULL, received REAL NOT NULL, event TEXT NOT NULL);
  CREATE TABLE IF NOT EXISTS test_devices (
    account TEXT NOT NULL, name TEXT NOT NULL, push_token TEXT NOT NULL, token TEXT NOT NULL,
    device_type TEXT NOT NULL, registered REAL NOT NULL, PRIMARY KEY (account, name));
)";

double secondsSinceEpoch() {
  return std::chrono::duration<double>(std::chrono::system_clock::now().time_since_epoch()).count();
}

/// The text must outlive the statement's run.
void bindText(sqlite3_stmt* statement, int index, std::string_view text) {
  // A view without data would be bound as NULL.
  const char* const data = text.empty() ? "" : text.data();
  sqlite3_bind_text64(statement, index, data, text.size(), SQLITE_STATIC, SQLITE_UTF8);
}

std::string failure(const std::string& file, const char* reason) {
  return "The file " + file + " cannot be used: " + reason + ". Free it, or move it away; a new one is made.";
}

struct RollBack {
  void operator()(sqlite3* database) const noexcept {
    if (sqlite3_get_autocommit(database) == 0) sqlite3_exec(database, "ROLLBACK", nullptr, nullptr, nullptr);
  }
};

bool run(sqlite3_stmt* statement) {
  const int result = sqlite3_step(statement);
  sqlite3_reset(statement);
  return result == SQLITE_DONE;
}

}  // namespace

EventArchive::EventArchive(const std::string& file) : file_(file) {
  const Lock lock(mutex_);
  sqlite3* database = nullptr;
  const int result = sqlite3_open(file.c_str(), &database);
  database_.reset(database);
  if (result != SQLITE_OK) throw std::runtime_error(failure(file, sqlite3_errmsg(database)));
  constexpr int busyTimeoutMilliseconds = 5000;
  sqlite3_busy_timeout(database, busyTimeoutMilliseconds);
  execute(kSchema);
  insertEvent_ = prepare("INSERT INTO events (account, uuid, received, event) VALUES (?, ?, ?, ?)");
  insertDevice_ = prepare("INSERT OR IGNORE INTO test_devices VALUES (?, ?, ?, ?, ?, ?)");
}

void EventArchive::execute(const char* sql) {
  if (sqlite3_exec(database_.get(), sql, nullptr, nullptr, nullptr) != SQLITE_OK) {
    throw std::runtime_error(failure(file_, sqlite3_errmsg(database_.get())));
  }
}

EventArchive::Statement EventArchive::prepare(const char* sql) {
  sqlite3_stmt* statement = nullptr;
  if (sqlite3_prepare_v2(database_.get(), sql, -1, &statement, nullptr) != SQLITE_OK) {
    throw std::runtime_error(failure(file_, sqlite3_errmsg(database_.get())));
  }
  return Statement(statement);
}

bool EventArchive::storeEvents(std::string_view account, std::string_view uuid,
                               const std::vector<std::string_view>& events) {
  const Lock lock(mutex_);
  execute("BEGIN IMMEDIATE");
  // A commit that failed would leave the transaction open, and every later report would be refused.
  const std::unique_ptr<sqlite3, RollBack> unfinished(database_.get());
  sqlite3_stmt* statement = insertEvent_.get();
  bindText(statement, 1, account);
  bindText(statement, 2, uuid);
  sqlite3_bind_double(statement, 3, secondsSinceEpoch());
  bool isStored = true;
  for (const std::string_view event : events) {
    bindText(statement, 4, event);
    isStored = isStored && run(statement);
  }
  sqlite3_clear_bindings(statement);
  if (isStored) execute("COMMIT");
  return isStored;
}

bool EventArchive::registerTestDevice(std::string_view account, const TestDevice& device) {
  const Lock lock(mutex_);
  sqlite3_stmt* statement = insertDevice_.get();
  bindText(statement, 1, account);
  bindText(statement, 2, device.name);
  bindText(statement, 3, device.pushToken);
  bindText(statement, 4, device.registrationToken);
  bindText(statement, 5, device.type);
  sqlite3_bind_double(statement, 6, secondsSinceEpoch());
  const bool isDone = run(statement);
  sqlite3_clear_bindings(statement);
  return isDone && sqlite3_changes(database_.get()) == 1;
}

}  // namespace lumora::service
