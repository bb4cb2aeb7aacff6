// The database's file: its folder and rights, its tables, and what becomes of a corrupt one.
#include <date/date.h>
#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <chrono>
#include <map>

#include "lumora/Platform/FileLock.h"
#include "lumora/Platform/JSON.h"
#include "lumora/Platform/Texts.h"
#include "lumora/Storage/DatabaseTables.h"
#include "lumora/Storage/LMRDataManager.h"
#include "lumora/Util/Log.h"

namespace lumora {
namespace {

using Kind = DatabaseFault::Kind;
using Rows = std::map<std::int64_t, OstrelSQLiteManager::Row>;

/// What lies beside a database. These come first when a database is moved: one that stayed behind would be
/// applied to the next file of that name.
constexpr const char* companions[] = {"-journal", "-wal", "-shm"};

/// Whether this thread uploads, and so has the lock file's lock already.
thread_local bool hasUploadLock = false;

/// Whether SQLite finds nothing wrong with any page.
bool isSound(OstrelSQLiteManager& sql) {
  const auto found = sql.getRowsForQuery("PRAGMA integrity_check(1)");
  return !found.empty() && found.front().begin()->second == Value("ok");
}

/// A table's rows: those ahead of the first page that cannot be read, and those behind the last one.
Rows readableRows(OstrelSQLiteManager& sql, const DatabaseTable& table) {
  Rows rows;
  const auto named = sql.getRowsForQuery(
      fmt::format("SELECT name FROM sqlite_master WHERE type='table' AND name='{}'", table.name));
  if (named.empty()) return rows;
  for (const char* order : {"ASC", "DESC"}) {
    for (auto& row : sql.getRowsForQuery(
             fmt::format("SELECT *, rowid AS _id FROM {} ORDER BY rowid {}", table.name, order)))
      rows.emplace(row.at("_id").integerValue(), std::move(row));
  }
  return rows;
}

/// The values of the table's columns; nothing when one is missing, or what should be an object is none.
std::optional<List> valuesOf(const DatabaseTable& table, const OstrelSQLiteManager::Row& row) {
  List values;
  for (const char* column : table.columns) {
    const Value* value = findValue(row, column);
    if (!value) return std::nullopt;
    values.push_back(*value);
  }
  const std::string* text = values.front().asString();
  const auto object = text ? parseJSON(*text) : std::nullopt;
  return object && object->asDictionary() ? std::optional(std::move(values)) : std::nullopt;
}

/// Inserts the rows with their ids, which an upload under way may know.
int insertRows(OstrelSQLiteManager& sql, const DatabaseTable& table, const Rows& rows) {
  std::string places;
  for (std::size_t column = 0; column < table.columns.size(); ++column) places += column == 0 ? "?" : ",?";
  const std::string statement = fmt::format("INSERT OR IGNORE INTO {} ({}) VALUES ({})", table.name,
                                            joined(table.columns, ","), places);
  const int before = sql.changedRows();
  for (const auto& [id, row] : rows) {
    if (const auto values = valuesOf(table, row)) sql.doQuery(statement, *values);
  }
  return sql.changedRows() - before;
}

/// The path, made longer until no file has it.
std::string unusedPath(std::string path) {
  while (platform().files.fileExists(path)) path += '+';
  return path;
}

/// "yyyyMMddTHHmmssZ". Written without streams, as they would follow the host's locale.
std::string stampOf(Date moment) {
  const auto day = std::chrono::floor<date::days>(moment);
  const date::year_month_day calendar(day);
  const date::hh_mm_ss timeOfDay(std::chrono::floor<std::chrono::seconds>(moment - day));
  return fmt::format("{:04}{:02}{:02}T{:02}{:02}{:02}Z", static_cast<int>(calendar.year()),
                     static_cast<unsigned>(calendar.month()), static_cast<unsigned>(calendar.day()),
                     timeOfDay.hours().count(), timeOfDay.minutes().count(), timeOfDay.seconds().count());
}

}  // namespace

LMRDataManager::UploadLock::UploadLock(std::chrono::milliseconds limit)
    : lock_(sharedInstance().lockFilePath(), limit) {
  if (state() == FileLockState::taken) hasUploadLock = true;
}

LMRDataManager::UploadLock::~UploadLock() {
  if (state() == FileLockState::taken) hasUploadLock = false;
}

/// Makes the folder and the file where they are missing, for their owner alone.
DatabaseFault LMRDataManager::provideFile() {
  const Platform& system = platform();
  const std::string path = sql_.getDatabasePath();
  if (const auto reason = system.sharedFiles.makeFolder(system.files.documentsDirectory()))
    return {Kind::unusable, *reason};
  const auto reason = system.sharedFiles.makePrivateFile(path);
  // Somebody else's file, perhaps, which can be used all the same.
  if (reason && !system.files.fileExists(path)) return {Kind::unusable, *reason};
  for (const char* companion : companions) {
    if (system.files.fileExists(path + companion)) system.sharedFiles.makePrivateFile(path + companion);
  }
  return {};
}

bool LMRDataManager::isFolderInItsPlace() {
  return platform().files.list(sql_.getDatabasePath()).has_value();
}

/// Looks only when something may have changed: at the start, and when the file has gone.
DatabaseFault LMRDataManager::provideTables() {
  if (tablesAreThere_ && platform().files.fileExists(sql_.getDatabasePath())) return {};
  tablesAreThere_ = false;
  if (DatabaseFault fault = provideFile()) return fault;
  DatabaseSchema found = DatabaseSchema::whole;
  {
    OstrelSQLiteManager::Transaction look(sql_, Access::reads);
    if (!look.fault()) found = schemaOf(sql_);
    if (DatabaseFault fault = look.commit()) return fault;
  }
  if (const char* reason = foreignness(found)) return {Kind::corrupt, reason};
  if (found == DatabaseSchema::lacksTables) {
    OstrelSQLiteManager::Transaction making(sql_, Access::writes);
    if (making.fault()) return making.fault();
    for (const DatabaseTable& table : databaseTables()) sql_.doQuery(table.statement);
    if (DatabaseFault fault = making.commit()) return fault;
  }
  tablesAreThere_ = true;
  return {};
}

/// Looks at the file once more, with every other process kept out, and puts a new one in its place.
DatabaseFault LMRDataManager::replaceCorruptFile(const std::string& reason) {
  // Another process may have done so by now, or may be sending events of this file.
  std::optional<FileLock> processes;
  if (!hasUploadLock) processes.emplace(lockFilePath(), std::chrono::milliseconds(0));
  if (processes && processes->state() == FileLockState::busy) return {Kind::busy, {}};
  tablesAreThere_ = false;
  SavedRows saved;
  const std::string aside =
      unusedPath(sql_.getDatabasePath() + ".corrupt-" + stampOf(platform().clock.now()));
  {
    // Held until the file has gone: nobody else writes into it.
    OstrelSQLiteManager::Transaction look(sql_, Access::writes);
    if (look.fault() && look.fault().kind != Kind::corrupt && !isFolderInItsPlace()) return look.fault();
    if (!look.fault()) {
      if (!foreignness(schemaOf(sql_)) && isSound(sql_)) return {};
      for (const DatabaseTable& table : databaseTables()) saved.push_back(readableRows(sql_, table));
    }
    if (const auto failure = moveFilesTo(aside))
      return {Kind::unusable, fmt::format("{}; it cannot be moved aside: {}", reason, *failure)};
  }
  const int carriedOver = carryOver(saved);
  logLine("LumoraSDK-The database {} is corrupt ({}): it is kept as {}, events carried over: {}",
          sql_.getDatabasePath(), reason, aside, carriedOver);
  return {};
}

/// Stores the rows of an earlier file in a new one; gives the number of events.
int LMRDataManager::carryOver(const SavedRows& saved) {
  // What fails from here on loses nothing for good: the old file is kept.
  if (provideTables()) return 0;
  OstrelSQLiteManager::Transaction transaction(sql_, Access::writes);
  if (transaction.fault()) return 0;
  const auto tables = databaseTables();
  int events = 0;
  for (std::size_t table = 0; table < saved.size(); ++table) {
    const int rows = insertRows(sql_, tables[table], saved[table]);
    if (table == 0) events = rows;
  }
  return transaction.commit() ? 0 : events;
}

void LMRDataManager::closeFile() {
  Lock lock(databaseLock_);
  // An operation under way still needs it.
  if (!sql_.isInTransaction()) sql_.closeDatabase();
}

bool LMRDataManager::eraseFiles() {
  Lock lock(databaseLock_);
  waiting_.clear();
  sent_.clear();
  tablesAreThere_ = false;
  sql_.closeDatabase();
  FileSystem& files = platform().files;
  const std::string folder = files.documentsDirectory() + "/";
  const std::string name = sql_.getDatabasePath().substr(folder.size());
  bool isClean = true;
  for (const std::string& entry : files.list(folder).value_or(std::vector<std::string>())) {
    // The lock file tells nothing, and another process may hold it.
    if (!entry.starts_with(name) || entry == name + ".lock") continue;
    if (const auto failure = files.remove(folder + entry)) {
      logLine("LumoraSDK-The file {} cannot be erased: {}", folder + entry, *failure);
      isClean = false;
    }
  }
  return isClean;
}

/// Nothing on success, else the reason.
std::optional<std::string> LMRDataManager::moveFilesTo(const std::string& aside) {
  const Platform& system = platform();
  const std::string path = sql_.getDatabasePath();
  for (const char* companion : companions) {
    if (!system.files.fileExists(path + companion)) continue;
    if (auto reason = system.sharedFiles.moveAside(path + companion, aside + companion)) return reason;
  }
  return system.sharedFiles.moveAside(path, aside);
}

}  // namespace lumora
