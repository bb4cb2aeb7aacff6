#include "lumora/Storage/OstrelSQLiteManager.h"

#include <sqlite3.h>

#include <chrono>
#include <memory>
#include <utility>

#include "lumora/Util/Log.h"

namespace lumora {
namespace {

struct Finalizer {
  void operator()(sqlite3_stmt* statement) const { sqlite3_finalize(statement); }
};
using Statement = std::unique_ptr<sqlite3_stmt, Finalizer>;

/// Waits for another process that holds the file, by the platform's clock.
int waitWhileBusy(void*, int attempt) {
  constexpr auto pause = std::chrono::milliseconds(5);
  constexpr auto limit = std::chrono::seconds(10);
  if (attempt * pause >= limit) return 0;
  platform().clock.sleepFor(pause);
  return 1;
}

void bindNumber(sqlite3_stmt* statement, int index, const Value& number) {
  switch (*number.numberKind()) {
    case Value::NumberKind::floating:
      sqlite3_bind_double(statement, index, number.doubleValue());
      break;
    case Value::NumberKind::integer:
    case Value::NumberKind::longLong:
      sqlite3_bind_int(statement, index, static_cast<int>(number.integerValue()));
      break;
    default:
      logLine("unknown NSNumber");
  }
}

void bindParameters(sqlite3_stmt* statement, const List& parameters) {
  int index = 0;
  for (const Value& parameter : parameters) {
    ++index;
    if (const auto* text = parameter.asString()) {
      sqlite3_bind_text(statement, index, text->c_str(), -1, SQLITE_TRANSIENT);
    } else if (parameter.isNumber()) {
      bindNumber(statement, index, parameter);
    }
  }
}

std::string columnText(sqlite3_stmt* statement, int column) {
  const auto* text = reinterpret_cast<const char*>(sqlite3_column_text(statement, column));
  if (!text) return {};
  return {text, static_cast<std::size_t>(sqlite3_column_bytes(statement, column))};
}

/// Nothing for an empty blob, which is left out of its row.
std::optional<Value> columnValue(sqlite3_stmt* statement, int column) {
  switch (sqlite3_column_type(statement, column)) {
    case SQLITE_INTEGER:
      return Value(sqlite3_column_int(statement, column));
    case SQLITE_FLOAT:
      return Value(static_cast<float>(sqlite3_column_double(statement, column)));
    case SQLITE_NULL:
      return Value();
    case SQLITE_BLOB: {
      const auto* bytes = static_cast<const std::uint8_t*>(sqlite3_column_blob(statement, column));
      const int count = sqlite3_column_bytes(statement, column);
      if (!bytes || count <= 0) return std::nullopt;
      return Value(Data(bytes, bytes + count));
    }
    default:
      return Value(columnText(statement, column));
  }
}

std::vector<std::string> columnNames(sqlite3_stmt* statement) {
  std::vector<std::string> names;
  for (int column = 0; column < sqlite3_column_count(statement); ++column) {
    const char* name = sqlite3_column_name(statement, column);
    names.emplace_back(name ? name : "");
  }
  return names;
}

std::string dumpedValue(const Value& value) {
  if (value.isNull()) return "null";
  if (value.isNumber()) return value.description();
  return "'" + quotedForSQL(value.description()) + "'";
}

std::string dumpedRow(const std::string& table, const OstrelSQLiteManager::Row& row) {
  std::string keys;
  std::string values;
  for (const auto& [key, value] : row) {
    const char* const separator = keys.empty() ? "" : ",";
    keys += separator + key;
    values += separator + dumpedValue(value);
  }
  return fmt::format("insert into {} ({}) values ({});\n", table, keys, values);
}

}  // namespace

OstrelSQLiteManager::OstrelSQLiteManager(std::string databaseName) : databaseName_(std::move(databaseName)) {}

OstrelSQLiteManager::~OstrelSQLiteManager() {
  closeDatabase();
}

SQLiteError OstrelSQLiteManager::createDBErrorWithDescription(std::string description, int code) const {
  return {"SQLite Error", code, std::move(description)};
}

std::string OstrelSQLiteManager::getDatabasePath() const {
  FileSystem& files = platform().files;
  if (files.fileExists(databaseName_)) return databaseName_;
  return files.documentsDirectory() + "/" + databaseName_;
}

std::optional<SQLiteError> OstrelSQLiteManager::openDatabase() {
  closeDatabase();
  if (sqlite3_open(getDatabasePath().c_str(), &db_) != SQLITE_OK) {
    return createDBErrorWithDescription(
        fmt::format("The database could not be opened: {}", sqlite3_errmsg(db_)), kSQLiteOpenError);
  }
  sqlite3_busy_handler(db_, waitWhileBusy, nullptr);
  return std::nullopt;
}

std::optional<SQLiteError> OstrelSQLiteManager::closeDatabase() {
  if (!db_) return std::nullopt;
  std::optional<SQLiteError> error;
  if (sqlite3_close(db_) != SQLITE_OK) {
    error = createDBErrorWithDescription(
        fmt::format("The database could not be closed: {}", sqlite3_errmsg(db_)), kSQLiteCloseError);
  }
  db_ = nullptr;
  return error;
}

std::optional<SQLiteError> OstrelSQLiteManager::doQuery(const std::string& sql) {
  return runStatement(sql, nullptr);
}

std::optional<SQLiteError> OstrelSQLiteManager::doQuery(const std::string& sql,
                                                        const List& withPreparedStmts) {
  return runStatement(sql, &withPreparedStmts);
}

std::optional<SQLiteError> OstrelSQLiteManager::runStatement(const std::string& sql, const List* parameters) {
  if (!db_) {
    if (auto error = openDatabase()) return error;
  }
  std::optional<SQLiteError> stepError;
  {
    sqlite3_stmt* prepared = nullptr;
    sqlite3_prepare_v2(db_, sql.c_str(), -1, &prepared, nullptr);
    const Statement statement(prepared);
    if (statement && parameters) bindParameters(statement.get(), *parameters);
    if (statement && sqlite3_step(statement.get()) == SQLITE_ERROR) {
      stepError = createDBErrorWithDescription(sqlite3_errmsg(db_), kSQLiteStatementError);
    }
  }
  auto closeError = closeDatabase();
  return stepError ? stepError : closeError;
}

std::vector<OstrelSQLiteManager::Row> OstrelSQLiteManager::getRowsForQuery(const std::string& sql) {
  std::vector<Row> rows;
  if (!db_) openDatabase();
  {
    sqlite3_stmt* prepared = nullptr;
    if (sqlite3_prepare_v2(db_, sql.c_str(), -1, &prepared, nullptr) == SQLITE_ERROR) {
      const SQLiteError error = createDBErrorWithDescription(sqlite3_errmsg(db_), kSQLiteStatementError);
      logLine("{} (code {}): {}", error.domain, error.code, error.description);
    }
    const Statement statement(prepared);
    const std::vector<std::string> names = columnNames(statement.get());
    while (statement && sqlite3_step(statement.get()) == SQLITE_ROW) {
      Row& row = rows.emplace_back();
      for (std::size_t column = 0; column < names.size(); ++column) {
        auto value = columnValue(statement.get(), static_cast<int>(column));
        if (value) row.insert_or_assign(names[column], std::move(*value));
      }
    }
  }
  closeDatabase();
  return rows;
}

std::int64_t OstrelSQLiteManager::getLastInsertRowID() {
  if (!db_ && openDatabase()) return 0;
  return sqlite3_last_insert_rowid(db_);
}

std::string OstrelSQLiteManager::getDatabaseDump() {
  std::string dump =
      ";\n"
      "; The contents of one database, as SQL text.\n"
      "; The tables come first, each followed by its rows.\n"
      ";\n";
  dump += fmt::format("; database {};\n", databaseName_.substr(databaseName_.rfind('/') + 1));
  const auto tables =
      getRowsForQuery("SELECT * FROM sqlite_master WHERE type='table' AND name NOT LIKE 'sqlite_%';");
  for (const Row& table : tables) {
    const Value* sql = findValue(table, "sql");
    const Value* name = findValue(table, "name");
    if (!sql || !name) continue;
    dump += sql->description() + ";\n";
    for (const Row& row : getRowsForQuery("SELECT * FROM " + name->description())) {
      dump += dumpedRow(name->description(), row);
    }
  }
  return dump;
}

std::string quotedForSQL(std::string_view text) {
  std::string quoted;
  quoted.reserve(text.size() + 16);
  for (const char c : text) {
    quoted.push_back(c);
    if (c == '\'') quoted.push_back(c);
  }
  return quoted;
}

}  // namespace lumora
