#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "lumora/Platform/Value.h"

struct sqlite3;
struct sqlite3_stmt;

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

/// What can be wrong with a database file. A statement that is wrong itself is no fault of the file.
struct DatabaseFault {
  enum class Kind {
    none,
    busy,      ///< Another process holds the file, or has just put another one in its place.
    corrupt,   ///< The file is damaged, or no database.
    unusable,  ///< It cannot be opened, read or written: rights, a full disk, a missing folder.
  };
  Kind kind = Kind::none;
  /// As a text for people.
  std::string reason;

  explicit operator bool() const noexcept { return kind != Kind::none; }
};

/// A thin wrapper around one SQLite database file.
///
/// Outside of a transaction every operation that runs a statement opens a connection if none is held, and
/// closes it when it is done. A transaction leaves its connection open for the next one. Nothing waits: while
/// another process holds the file, statements do nothing. There is no lock here: one thread at a time.
///
/// What transactions write goes to a log beside the file ("-wal"), with one sync for each; from there it is
/// carried over into the file now and then, and when the connection is closed, which removes the log. Where
/// processes cannot share memory SQLite keeps its rollback journal instead.
class OstrelSQLiteManager {
 public:
  using Row = Dictionary;

  /// The name of a file in the documents directory, or an absolute path to an existing file. Opens nothing.
  explicit OstrelSQLiteManager(std::string databaseName);
  ~OstrelSQLiteManager();
  OstrelSQLiteManager(const OstrelSQLiteManager&) = delete;
  OstrelSQLiteManager& operator=(const OstrelSQLiteManager&) = delete;

  /// Opens the file, which is created when missing; a connection still held is closed first.
  std::optional<SQLiteError> openDatabase();
  /// Drops the connection, even when SQLite refuses to close it.
  std::optional<SQLiteError> closeDatabase();

  /// What a transaction is for.
  enum class Access {
    reads,   ///< Others may read meanwhile.
    writes,  ///< Every other process is kept out from the start, so that it ends as it began: not busy.
  };

  /// A transaction for the length of a scope; what was not committed is undone. One at a time. It takes the
  /// connection that is held, unless another file has taken the place of its own, or opens one.
  class Transaction {
   public:
    Transaction(OstrelSQLiteManager& sql, Access access);
    ~Transaction();
    Transaction(const Transaction&) = delete;
    Transaction& operator=(const Transaction&) = delete;

    /// What keeps it from beginning, or what a statement has met since.
    const DatabaseFault& fault() const noexcept { return sql_.fault_; }
    /// Ends it. A fault that it met, now at the latest, undoes the whole.
    DatabaseFault commit();

   private:
    OstrelSQLiteManager& sql_;
  };

  bool isInTransaction() const noexcept { return isInTransaction_; }
  /// What a statement of this transaction has met.
  const DatabaseFault& fault() const noexcept { return fault_; }
  /// Whether a statement of this transaction was wrong itself; perhaps its table is not there.
  bool hasFailedStatement() const noexcept { return hasFailedStatement_; }
  /// The number of rows that this transaction has inserted, deleted or changed so far.
  int changedRows() const;

  /// Runs one statement that returns no rows. Only a step that ends in a plain SQL error is reported: a
  /// statement that does not compile, a broken constraint, and a locked or full disk are not.
  std::optional<SQLiteError> doQuery(const std::string& sql);
  /// The same for a statement with `?` parameters. Texts, 32- and 64-bit integers (32 bits of them) and
  /// floats are bound; other numbers are logged and, like every other kind, leave their parameter NULL.
  /// Within a transaction the last such statement stays compiled with the connection, for the case that it
  /// comes again.
  std::optional<SQLiteError> doQuery(const std::string& sql, const List& withPreparedStmts);
  /// Every row as a map from column name to value: integers have 32 bits, reals single precision. A query
  /// that fails is logged and gives no rows.
  std::vector<Row> getRowsForQuery(const std::string& sql);
  /// The same, one row at a time, so that only one is in memory.
  void forEachRow(const std::string& sql, const std::function<void(Row row)>& take);
  /// Of the connection that is held: 0 after any operation that closed it.
  std::int64_t getLastInsertRowID();
  /// The whole database as SQL text.
  std::string getDatabaseDump();

  std::string getDatabasePath() const;
  sqlite3* db() const noexcept { return db_; }
  void setDb(sqlite3* db) noexcept { db_ = db; }

 private:
  struct Finalizer {
    void operator()(sqlite3_stmt* statement) const;
  };
  using Statement = std::unique_ptr<sqlite3_stmt, Finalizer>;
  /// A compiled statement and its text.
  struct Prepared {
    std::string sql;
    Statement statement;
  };

  SQLiteError createDBErrorWithDescription(std::string description, int code) const;
  std::optional<SQLiteError> runStatement(const std::string& sql, const List* parameters);
  bool hasMoved() const;
  void noteMove();
  void prepareWriting();
  void beginTransaction(Access access);
  void endTransaction();
  void note(int result);
  Statement prepare(const std::string& sql);
  std::optional<SQLiteError> finishStatement();

  std::string databaseName_;
  sqlite3* db_ = nullptr;
  /// What may come again with this connection.
  Prepared kept_;
  /// Whether this connection knows how to write.
  bool isReadyToWrite_ = false;
  /// Whether this connection may wait for a lock of its own, one that the system did not take back.
  bool hasLostLock_ = false;
  int changesBefore_ = 0;
  bool isInTransaction_ = false;
  bool hasFailedStatement_ = false;
  /// The first that the transaction met.
  DatabaseFault fault_;
};

/// The text of a column in the first row; nothing when there is no row, or it has nothing there.
std::optional<std::string> firstText(const std::vector<OstrelSQLiteManager::Row>& rows,
                                     std::string_view column);

/// The text with every single quote doubled, for the inside of an SQL literal.
std::string quotedForSQL(std::string_view text);

}  // namespace lumora
