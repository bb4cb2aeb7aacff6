// The database's file: its folder and rights, its tables, and what becomes of a corrupt one.
#include <date/date.h>
#include <fmt/format.h>

#include <algorithm>
#include <chrono>
#include <map>

#include "lumora/Platform/FileLock.h"
#include "lumora/Platform/JSON.h"
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
                                            fmt::join(table.columns, ","), places);
  const int before = sql.changedRows();
  for (const auto& [id, row] : rows) {
    if (const auto values = valuesOf(table, row)) sql.doQuery(statement, *values);
  }
  return sql.changedRows() - before;
}

}  // namespace

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

/// Looks only when something may have changed: at the start, and when the file has gone.
DatabaseFault LMRDataManager::provideTables() {
  if (tablesAreThere_ && platform().files.fileExists(sql_.getDatabasePath())) return {};
  tablesAreThere_ = false;
  if (DatabaseFault fault = provideFile()) return fault;
  if (DatabaseFault fault = sql_.beginTransaction(Access::reads)) return fault;
  const DatabaseSchema found = schemaOf(sql_);
  if (DatabaseFault fault = sql_.endTransaction()) return fault;
  if (found == DatabaseSchema::lacksColumns) return {Kind::corrupt, "a column is missing"};
  if (found == DatabaseSchema::lacksTables) {
    if (DatabaseFault fault = sql_.beginTransaction(Access::writes)) return fault;
    for (const DatabaseTable& table : databaseTables()) sql_.doQuery(table.statement);
    if (DatabaseFault fault = sql_.endTransaction()) return fault;
  }
  tablesAreThere_ = true;
  return {};
}

/// Looks at the file once more, with every other process kept out, and puts a new one in its place.
DatabaseFault LMRDataManager::replaceCorruptFile(const std::string& reason) {
  // Another process may have done so by now, or may be sending events of this file.
  const FileLock processes(lockFilePath(), std::chrono::milliseconds(0));
  if (processes.state() == FileLockState::busy) return {Kind::busy, {}};
  tablesAreThere_ = false;
  const DatabaseFault seen = sql_.beginTransaction(Access::writes);
  if (seen.kind == Kind::busy || seen.kind == Kind::unusable) return seen;
  std::map<const char*, Rows> saved;
  if (!seen) {
    if (schemaOf(sql_) != DatabaseSchema::lacksColumns && isSound(sql_)) return sql_.endTransaction();
    for (const DatabaseTable& table : databaseTables()) saved[table.name] = readableRows(sql_, table);
  }

  const std::string path = sql_.getDatabasePath();
  std::string aside = path + date::format(".corrupt-%Y%m%dT%H%M%SZ",
                                          date::floor<std::chrono::seconds>(platform().clock.now()));
  while (platform().files.fileExists(aside)) aside += '+';
  const auto failure = moveFilesTo(aside);
  sql_.endTransaction();  // Only now: until here nobody could write into the file that goes.
  if (failure) return {Kind::unusable, fmt::format("{}; it cannot be moved aside: {}", reason, *failure)};

  int carriedOver = 0;
  DatabaseFault fault = provideTables();
  if (!fault) fault = sql_.beginTransaction(Access::writes);
  if (!fault) {
    const auto tables = databaseTables();
    carriedOver = insertRows(sql_, tables[0], saved[tables[0].name]);
    insertRows(sql_, tables[1], saved[tables[1].name]);
    fault = sql_.endTransaction();
  }
  logLine("LumoraSDK-The database {} is corrupt ({}): it is kept as {}, {} events were carried over.", path,
          reason, aside, fault ? 0 : carriedOver);
  return fault;
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
