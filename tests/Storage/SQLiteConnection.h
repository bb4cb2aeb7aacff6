#pragma once

#include <gtest/gtest.h>
#include <sqlite3.h>

#include <string>
#include <vector>

namespace lumora::tests {

/// A test's own connection to a database file, as another process would have one.
class SQLiteConnection {
 public:
  explicit SQLiteConnection(const std::string& path) {
    EXPECT_EQ(sqlite3_open(path.c_str(), &db_), SQLITE_OK);
  }
  ~SQLiteConnection() { sqlite3_close(db_); }
  SQLiteConnection(const SQLiteConnection&) = delete;
  SQLiteConnection& operator=(const SQLiteConnection&) = delete;

  void run(const std::string& sql) {
    EXPECT_EQ(sqlite3_exec(db_, sql.c_str(), nullptr, nullptr, nullptr), SQLITE_OK)
        << sql << ": " << message();
  }

  /// The first column of every row, as text.
  std::vector<std::string> texts(const std::string& sql) {
    std::vector<std::string> found;
    const auto collect = [](void* list, int, char** values, char**) {
      static_cast<std::vector<std::string>*>(list)->emplace_back(values[0] ? values[0] : "NULL");
      return 0;
    };
    EXPECT_EQ(sqlite3_exec(db_, sql.c_str(), collect, &found, nullptr), SQLITE_OK)
        << sql << ": " << message();
    return found;
  }

 private:
  std::string message() const { return sqlite3_errmsg(db_); }

  sqlite3* db_ = nullptr;
};

}  // namespace lumora::tests
