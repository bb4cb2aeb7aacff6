#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "lumora/Platform/Value.h"

struct sqlite3;

namespace lumora {

/// An error of the database layer.
struct SQLiteError {
  std::string domain;
  int code = 0;
  std::string description;
};

/// What the codes stand for.
enum SQLiteErrorCode : int {
  kSQLiteOpenError = 1,
  kSQLiteStatementError = 3,
  kSQLiteCloseError = 4,
};

/// A thin wrapper around one SQLite database file.
///
/// Connections are short-lived: every operation that runs a statement opens one if none is held and closes it
/// when it is done. While another process holds the file, statements wait for up to ten seconds.
/// There is no lock here: one thread at a time.
class OstrelSQLiteManager {
 public:
  using Row = Dictionary;

  /// The name of a file in the documents directory, or a path to an existing file. Opens nothing.
  explicit OstrelSQLiteManager(std::string databaseName);
  ~OstrelSQLiteManager();
  OstrelSQLiteManager(const OstrelSQLiteManager&) = delete;
  OstrelSQLiteManager& operator=(const OstrelSQLiteManager&) = delete;

  /// Opens the file, which is created when missing; a connection still held is closed first.
  std::optional<SQLiteError> openDatabase();
  /// Drops the connection, even when SQLite refuses to close it.
  std::optional<SQLiteError> closeDatabase();

  /// Runs one statement that returns no rows. Only a step that ends in a plain SQL error is reported: a
  /// statement that does not compile, a broken constraint, and a locked or full disk are not.
  std::optional<SQLiteError> doQuery(const std::string& sql);
  /// The same for a statement with `?` parameters. Texts, 32- and 64-bit integers (32 bits of them) and
  /// floats are bound; other numbers are logged and, like every other kind, leave their parameter NULL.
  std::optional<SQLiteError> doQuery(const std::string& sql, const List& withPreparedStmts);
  /// Every row as a map from column name to value: integers have 32 bits, reals single precision. A query
  /// that fails is logged and gives no rows.
  std::vector<Row> getRowsForQuery(const std::string& sql);
  /// Of the connection that is held: 0 after any operation that closed it.
  std::int64_t getLastInsertRowID();
  /// The whole database as SQL text.
  std::string getDatabaseDump();

  std::string getDatabasePath() const;
  sqlite3* db() const noexcept { return db_; }
  void setDb(sqlite3* db) noexcept { db_ = db; }

 private:
  SQLiteError createDBErrorWithDescription(std::string description, int code) const;
  std::optional<SQLiteError> runStatement(const std::string& sql, const List* parameters);

  std::string databaseName_;
  sqlite3* db_ = nullptr;
};

/// The text with every single quote doubled, for the inside of an SQL literal.
std::string quotedForSQL(std::string_view text);

}  // namespace lumora
