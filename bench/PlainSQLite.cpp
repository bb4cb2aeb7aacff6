#include "bench/PlainSQLite.h"

#include <sqlite3.h>
#include <time.h>

#include <memory>
#include <stdexcept>

namespace lumora_bench {
namespace {

struct Finalizer {
  void operator()(sqlite3_stmt* statement) const { sqlite3_finalize(statement); }
};
using Statement = std::unique_ptr<sqlite3_stmt, Finalizer>;

Statement prepare(sqlite3* database, const std::string& sql) {
  sqlite3_stmt* statement = nullptr;
  if (sqlite3_prepare_v2(database, sql.c_str(), -1, &statement, nullptr) != SQLITE_OK) {
    throw std::runtime_error(sqlite3_errmsg(database));
  }
  return Statement(statement);
}

/// Whether there is a further row.
bool step(sqlite3* database, const Statement& statement) {
  const int result = sqlite3_step(statement.get());
  if (result != SQLITE_ROW && result != SQLITE_DONE) throw std::runtime_error(sqlite3_errmsg(database));
  return result == SQLITE_ROW;
}

int waitWhileBusy(void*, int attempt) {
  constexpr timespec pause{0, 5'000'000};
  ::nanosleep(&pause, nullptr);
  return attempt < 2000 ? 1 : 0;
}

}  // namespace

PlainSQLite::PlainSQLite(const std::string& file) {
  if (sqlite3_open(file.c_str(), &database_) != SQLITE_OK) {
    sqlite3_close(database_);
    throw std::runtime_error(file + " cannot be opened");
  }
  sqlite3_busy_handler(database_, waitWhileBusy, nullptr);
}

PlainSQLite::~PlainSQLite() {
  sqlite3_finalize(insertion_);
  sqlite3_close(database_);
}

void PlainSQLite::keepLog() {
  for (const char* setting : {"PRAGMA journal_mode = WAL", "PRAGMA synchronous = FULL"}) run(setting);
}

int PlainSQLite::run(const std::string& sql) {
  const Statement statement = prepare(database_, sql);
  int rows = 0;
  for (; step(database_, statement); ++rows) {
    for (int column = 0; column < sqlite3_column_count(statement.get()); ++column)
      sqlite3_column_text(statement.get(), column);
  }
  return rows;
}

std::vector<std::string> PlainSQLite::texts(const std::string& sql, int column) {
  const Statement statement = prepare(database_, sql);
  std::vector<std::string> texts;
  while (step(database_, statement))
    texts.emplace_back(reinterpret_cast<const char*>(sqlite3_column_text(statement.get(), column)));
  return texts;
}

void PlainSQLite::insertEvent(const std::string& text) {
  if (!insertion_) insertion_ = prepare(database_, "INSERT INTO ostrel_events (event) VALUES (?)").release();
  sqlite3_bind_text(insertion_, 1, text.data(), static_cast<int>(text.size()), SQLITE_STATIC);
  const int result = sqlite3_step(insertion_);
  sqlite3_reset(insertion_);
  if (result != SQLITE_DONE) throw std::runtime_error(sqlite3_errmsg(database_));
}

void PlainSQLite::runTogether(const std::vector<std::string>& statements) {
  run("BEGIN");
  for (const std::string& statement : statements) run(statement);
  run("COMMIT");
}

int runAlone(const std::string& file, const std::string& sql) {
  return PlainSQLite(file).run(sql);
}

std::string eventInsertion(std::string_view text) {
  std::string sql = "INSERT INTO ostrel_events (event) VALUES ('";
  for (const char c : text) sql.append(c == '\'' ? 2 : 1, c);
  return sql + "');";
}

void fillEvents(const std::string& file, int count, std::string_view text) {
  std::vector<std::string> statements{"DELETE FROM ostrel_events"};
  statements.resize(static_cast<std::size_t>(count) + 1, eventInsertion(text));
  PlainSQLite(file).runTogether(statements);
}

void createTables(const std::string& file) {
  runAlone(file, kEventsTable);
  runAlone(file, kCampaignsTable);
}

}  // namespace lumora_bench
