// One SQLite file: connections, transactions, statements, rows. Locks, what a fault leads to, and when to try
// again are LMRDataManager's; nothing here waits, no busy handler is set.
#include "lumora/Storage/OstrelSQLiteManager.h"

#include <sqlite3.h>

#include <new>
#include <system_error>
#include <utility>

#include "lumora/Util/Log.h"

namespace lumora {
namespace {

DatabaseFault::Kind faultOf(int extendedResult) {
  // Moved away under the connection: the next attempt opens what is there now.
  if (extendedResult == SQLITE_READONLY_DBMOVED) return DatabaseFault::Kind::busy;
  switch (extendedResult & 0xFF) {
    case SQLITE_BUSY:
    case SQLITE_LOCKED:
    case SQLITE_PROTOCOL:  // Several processes open the log's index at once.
      return DatabaseFault::Kind::busy;
    case SQLITE_CORRUPT:
    case SQLITE_NOTADB:
      return DatabaseFault::Kind::corrupt;
    case SQLITE_CANTOPEN:
    case SQLITE_FULL:
    case SQLITE_IOERR:
    case SQLITE_NOMEM:
    case SQLITE_PERM:
    case SQLITE_READONLY:
      return DatabaseFault::Kind::unusable;
    default:
      return DatabaseFault::Kind::none;
  }
}

/// Whether a commit that failed has taken effect all the same: these come after the journal is gone. Whoever
/// stored the same again would have it twice.
bool isCommitted(int extendedResult) {
  return extendedResult == SQLITE_IOERR_DIR_FSYNC || extendedResult == SQLITE_IOERR_UNLOCK ||
         extendedResult == SQLITE_IOERR_RDLOCK;
}

/// SQLite's message, and what the system said.
std::string reasonOf(sqlite3* database) {
  std::string reason = sqlite3_errmsg(database);
  const int error = sqlite3_system_errno(database);
  return error == 0 ? reason : reason + ": " + std::generic_category().message(error);
}

int bindNumber(sqlite3_stmt* statement, int index, const Value& number) {
  switch (*number.numberKind()) {
    case Value::NumberKind::floating:
      return sqlite3_bind_double(statement, index, number.doubleValue());
    case Value::NumberKind::integer:
    case Value::NumberKind::longLong:
      return sqlite3_bind_int(statement, index, static_cast<int>(number.integerValue()));
    default:
      logLine("unknown NSNumber");
      return SQLITE_OK;
  }
}

/// SQLITE_NOMEM, or SQLITE_OK: what the statement has no place for is left out.
int bindParameters(sqlite3_stmt* statement, const List& parameters) {
  int index = 0;
  int result = SQLITE_OK;
  for (const Value& parameter : parameters) {
    ++index;
    if (const auto* text = parameter.asString()) {
      // Up to a NUL, if the text has one.
      result = sqlite3_bind_text(statement, index, text->c_str(), -1, SQLITE_TRANSIENT);
    } else if (parameter.isNumber()) {
      result = bindNumber(statement, index, parameter);
    }
    if (result == SQLITE_NOMEM) return result;
  }
  return SQLITE_OK;
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
    if (!name) throw std::bad_alloc();
    names.emplace_back(name);
  }
  return names;
}

/// Bytes are printed as their description, so a dump does not bring them back.
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

void OstrelSQLiteManager::Finalizer::operator()(sqlite3_stmt* statement) const {
  sqlite3_finalize(statement);
}

OstrelSQLiteManager::OstrelSQLiteManager(std::string databaseName) : databaseName_(std::move(databaseName)) {}

OstrelSQLiteManager::~OstrelSQLiteManager() {
  closeDatabase();
}

SQLiteError OstrelSQLiteManager::createDBErrorWithDescription(std::string description, int code) const {
  return {"SQLite Error", code, std::move(description)};
}

std::string OstrelSQLiteManager::getDatabasePath() const {
  FileSystem& files = platform().files;
  // A name alone never means a file in the working directory.
  if (databaseName_.starts_with('/') && files.fileExists(databaseName_)) return databaseName_;
  return files.documentsDirectory() + "/" + databaseName_;
}

std::optional<SQLiteError> OstrelSQLiteManager::openDatabase() {
  closeDatabase();
  // A handle that could not be opened is kept: it knows the reason, and it is closed like any other.
  if (sqlite3_open(getDatabasePath().c_str(), &db_) != SQLITE_OK) {
    return createDBErrorWithDescription(
        fmt::format("The database could not be opened: {}", sqlite3_errmsg(db_)), kSQLiteOpenError);
  }
  return std::nullopt;
}

std::optional<SQLiteError> OstrelSQLiteManager::closeDatabase() {
  if (!db_) return std::nullopt;
  kept_ = {};
  isReadyToWrite_ = false;
  hasLostLock_ = false;
  std::optional<SQLiteError> error;
  if (sqlite3_close(db_) != SQLITE_OK) {
    error = createDBErrorWithDescription(
        fmt::format("The database could not be closed: {}", sqlite3_errmsg(db_)), kSQLiteCloseError);
  }
  db_ = nullptr;
  return error;
}

OstrelSQLiteManager::Transaction::Transaction(OstrelSQLiteManager& sql, Access access) : sql_(sql) {
  try {
    sql_.beginTransaction(access);
  } catch (const std::bad_alloc&) {
    sql_.endTransaction();  // There is nobody else to do so: this is not to become an object.
    throw;
  }
}

OstrelSQLiteManager::Transaction::~Transaction() {
  if (sql_.isInTransaction_) sql_.endTransaction();
}

DatabaseFault OstrelSQLiteManager::Transaction::commit() {
  sql_.noteMove();
  // Not after a fault: SQLite may have undone what came before it, and the rest is not to stand alone.
  if (!fault()) {
    const int result = sqlite3_exec(sql_.db_, "COMMIT", nullptr, nullptr, nullptr);
    if (result == SQLITE_OK || !isCommitted(sqlite3_extended_errcode(sql_.db_))) sql_.note(result);
  }
  sql_.endTransaction();
  return fault();
}

/// Whether the connection's file is no longer the one that its path names.
bool OstrelSQLiteManager::hasMoved() const {
  int moved = 0;
  return db_ && sqlite3_file_control(db_, "main", SQLITE_FCNTL_HAS_MOVED, &moved) == SQLITE_OK && moved != 0;
}

/// Once for each connection.
void OstrelSQLiteManager::prepareWriting() {
  if (isReadyToWrite_) return;
  // EXTRA: every commit must survive a power cut, also that of a rollback journal, which is its removal.
  note(sqlite3_exec(db_, "PRAGMA synchronous=EXTRA", nullptr, nullptr, nullptr));
  // Of 1 MiB at most, as rows live only until the next upload.
  constexpr const char* log = "PRAGMA journal_mode=WAL; PRAGMA wal_autocheckpoint=256";
  if (platform().sharedFiles.sharesMemory(getDatabasePath()))
    note(sqlite3_exec(db_, log, nullptr, nullptr, nullptr));
  isReadyToWrite_ = !fault_;
}

void OstrelSQLiteManager::beginTransaction(Access access) {
  isInTransaction_ = true;
  hasFailedStatement_ = false;
  fault_ = {};
  if (hasMoved()) closeDatabase();
  // A file that is merely busy or corrupt opens well; that comes out with the first statement.
  if (!db_ && openDatabase()) {
    fault_ = {DatabaseFault::Kind::unusable, db_ ? reasonOf(db_) : "out of memory"};
    closeDatabase();
    return;
  }
  changesBefore_ = sqlite3_total_changes(db_);
  if (access == Access::writes) {
    prepareWriting();
    if (!fault_) note(sqlite3_exec(db_, "BEGIN EXCLUSIVE", nullptr, nullptr, nullptr));
  } else {
    // The first look takes the lock that a transaction which reads keeps to its end.
    note(sqlite3_exec(db_, "BEGIN; SELECT 1 FROM sqlite_master LIMIT 1", nullptr, nullptr, nullptr));
  }
  noteMove();
}

/// What is written into a file that was moved away is lost: the next attempt opens what is there now.
void OstrelSQLiteManager::noteMove() {
  if (!fault_ && hasMoved()) fault_ = {DatabaseFault::Kind::busy, "another file has taken its place"};
}

void OstrelSQLiteManager::endTransaction() {
  if (db_ && sqlite3_get_autocommit(db_) == 0) sqlite3_exec(db_, "ROLLBACK", nullptr, nullptr, nullptr);
  isInTransaction_ = false;
  // Such a connection will do no better when the file has been mended; a full disk's does.
  if (fault_.kind == DatabaseFault::Kind::corrupt || hasLostLock_ ||
      (fault_ && db_ && sqlite3_db_readonly(db_, "main") != 0))
    closeDatabase();
}

int OstrelSQLiteManager::changedRows() const {
  return db_ ? sqlite3_total_changes(db_) - changesBefore_ : 0;
}

/// Takes in how a call of SQLite ended.
void OstrelSQLiteManager::note(int result) {
  if (result == SQLITE_OK || result == SQLITE_ROW || result == SQLITE_DONE) return;
  const int error = sqlite3_extended_errcode(db_);
  DatabaseFault::Kind kind = faultOf(error);
  hasLostLock_ = hasLostLock_ || (error & 0xFF) == SQLITE_PROTOCOL;
  // A statement that undid the whole transaction: what follows would stand outside of it.
  if (kind == DatabaseFault::Kind::none && isInTransaction_ && sqlite3_get_autocommit(db_) != 0)
    kind = DatabaseFault::Kind::unusable;
  if (kind == DatabaseFault::Kind::none)
    hasFailedStatement_ = true;
  else if (!fault_)
    fault_ = {kind, reasonOf(db_)};
}

/// A statement outside of a transaction takes its connection along.
std::optional<SQLiteError> OstrelSQLiteManager::finishStatement() {
  return isInTransaction_ ? std::nullopt : closeDatabase();
}

std::optional<SQLiteError> OstrelSQLiteManager::doQuery(const std::string& sql) {
  return runStatement(sql, nullptr);
}

std::optional<SQLiteError> OstrelSQLiteManager::doQuery(const std::string& sql,
                                                        const List& withPreparedStmts) {
  return runStatement(sql, &withPreparedStmts);
}

/// Null when it does not compile.
OstrelSQLiteManager::Statement OstrelSQLiteManager::prepare(const std::string& sql) {
  sqlite3_stmt* statement = nullptr;
  note(sqlite3_prepare_v2(db_, sql.c_str(), -1, &statement, nullptr));
  return Statement(statement);
}

std::optional<SQLiteError> OstrelSQLiteManager::runStatement(const std::string& sql, const List* parameters) {
  if (!db_) {
    if (auto error = openDatabase()) {
      finishStatement();  // SQLite gives a connection that can only be closed.
      return error;
    }
  }
  std::optional<SQLiteError> stepError;
  {
    Statement statement = kept_.sql == sql ? std::move(kept_.statement) : nullptr;
    if (!statement) statement = prepare(sql);
    int result = statement && parameters ? bindParameters(statement.get(), *parameters) : SQLITE_OK;
    // One step: whatever rows there are, nobody wants them. None where memory ran out for a parameter, which
    // would be stored as NULL.
    if (statement && result == SQLITE_OK) result = sqlite3_step(statement.get());
    note(result);
    if (result == SQLITE_ERROR) {
      stepError = createDBErrorWithDescription(sqlite3_errmsg(db_), kSQLiteStatementError);
    }
    if (statement && parameters && isInTransaction_) {
      sqlite3_reset(statement.get());
      sqlite3_clear_bindings(statement.get());
      kept_ = {sql, std::move(statement)};
    }
  }
  auto closeError = finishStatement();
  return stepError ? stepError : closeError;
}

std::vector<OstrelSQLiteManager::Row> OstrelSQLiteManager::getRowsForQuery(const std::string& sql) {
  std::vector<Row> rows;
  forEachRow(sql, [&rows](Row row) { rows.push_back(std::move(row)); });
  return rows;
}

void OstrelSQLiteManager::forEachRow(const std::string& sql, const std::function<void(Row row)>& take) {
  if (!db_) openDatabase();
  {
    const Statement statement = prepare(sql);
    if (!statement && sqlite3_errcode(db_) == SQLITE_ERROR) {
      const SQLiteError error = createDBErrorWithDescription(sqlite3_errmsg(db_), kSQLiteStatementError);
      logLine("{} (code {}): {}", error.domain, error.code, error.description);
    }
    const std::vector<std::string> names = columnNames(statement.get());
    int stepped = SQLITE_DONE;
    while (statement && (stepped = sqlite3_step(statement.get())) == SQLITE_ROW) {
      Row row;
      for (std::size_t column = 0; column < names.size(); ++column) {
        auto value = columnValue(statement.get(), static_cast<int>(column));
        if (value) row.insert_or_assign(names[column], std::move(*value));
      }
      take(std::move(row));
    }
    note(stepped);
  }
  finishStatement();
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

std::optional<std::string> firstText(const std::vector<OstrelSQLiteManager::Row>& rows,
                                     std::string_view column) {
  const Value* value = rows.empty() ? nullptr : findValue(rows.front(), column);
  return value ? std::optional(value->description()) : std::nullopt;
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
