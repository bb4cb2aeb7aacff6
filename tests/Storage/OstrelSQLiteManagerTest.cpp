#include "lumora/Storage/OstrelSQLiteManager.h"

#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <filesystem>

#include "lumora/Testing/FakePlatform.h"
#include "tests/Storage/SQLiteConnection.h"
#include "tests/Support/TestFiles.h"

namespace lumora::tests {
namespace {

using Lines = std::vector<std::string>;
using Row = OstrelSQLiteManager::Row;

class OstrelSQLiteManagerTest : public ::testing::Test {
 protected:
  std::string path() { return host.files.documentsDirectory() + "/test.sqlite"; }

  static std::string failure(const std::optional<SQLiteError>& error) {
    return error ? error->domain + " " + std::to_string(error->code) + ": " + error->description : "none";
  }

  void succeed(const std::string& sql) { EXPECT_EQ(failure(manager.doQuery(sql)), "none") << sql; }

  Row onlyRow(const std::string& sql) {
    const auto rows = manager.getRowsForQuery(sql);
    EXPECT_EQ(rows.size(), 1U) << sql;
    EXPECT_EQ(manager.db(), nullptr) << sql;
    return rows.empty() ? Row() : rows.front();
  }

  OstrelSQLiteManagerTest() { host.sharedFiles.makeFolder(host.files.documentsDirectory()); }

  testing::FakePlatform& host = testing::FakePlatform::install();
  OstrelSQLiteManager manager{"test.sqlite"};
};

TEST_F(OstrelSQLiteManagerTest, aNameLiesInTheDocumentsFolderAndAPathStays) {
  EXPECT_EQ(manager.getDatabasePath(), path());
  EXPECT_FALSE(std::filesystem::exists(path()));

  const std::string elsewhere = host.files.documentsDirectory() + "/other.sqlite";
  const OstrelSQLiteManager other(elsewhere);
  EXPECT_EQ(other.getDatabasePath(), host.files.documentsDirectory() + "/" + elsewhere);
  testing::writeFile(elsewhere, "");
  EXPECT_EQ(other.getDatabasePath(), elsewhere);

  std::filesystem::current_path(std::filesystem::path(path()).parent_path().parent_path());
  testing::writeFile("test.sqlite", "");
  EXPECT_EQ(manager.getDatabasePath(), path()) << "not the working directory's";
}

TEST_F(OstrelSQLiteManagerTest, onlyAStepThatFailsIsAnError) {
  succeed("CREATE TABLE t (a NOT NULL UNIQUE)");
  for (const char* sql :
       {"this is no SQL", "", "SELECT * FROM absent", "INSERT INTO t VALUES (1)", "INSERT INTO t VALUES (1)",
        "INSERT INTO t VALUES (NULL)", "INSERT INTO t VALUES (2); INSERT INTO t VALUES (3)"})
    succeed(sql);
  EXPECT_EQ(manager.getRowsForQuery("SELECT a FROM t"), (std::vector<Row>{{{"a", 1}}, {{"a", 2}}}));
  EXPECT_EQ(failure(manager.doQuery("SELECT abs(-9223372036854775808)")), "SQLite Error 3: integer overflow");
  EXPECT_EQ(manager.db(), nullptr);
  EXPECT_EQ(host.log.messages(), Lines());
  EXPECT_EQ(manager.getRowsForQuery("SELECT ("), std::vector<Row>());
  EXPECT_TRUE(host.log.messages().at(0).starts_with("SQLite Error")) << host.log.messages()[0];
}

TEST_F(OstrelSQLiteManagerTest, aFileThatCannotBeOpenedIsAnError) {
  std::filesystem::create_directory(path());
  const std::string error = "SQLite Error 1: The database could not be opened: unable to open database file";
  EXPECT_EQ(failure(manager.doQuery("CREATE TABLE t (a)")), error);
  EXPECT_EQ(failure(manager.openDatabase()), error);
  EXPECT_EQ(manager.getLastInsertRowID(), 0);
  EXPECT_EQ(manager.getRowsForQuery("SELECT 1"), std::vector<Row>());
  std::filesystem::remove(path());
  succeed("CREATE TABLE t (a)");
}

TEST_F(OstrelSQLiteManagerTest, bindsTextsAndThreeKindsOfNumber) {
  const std::pair<Value, std::string> cases[] = {
      {"it's", "text:it's"},       {"", "text:"},      {-1, "integer:-1"}, {2.5F, "real:2.5"},
      {4294967303LL, "integer:7"}, {Value(), "null:"}, {Data{1}, "null:"}, {2.5, "unknown"},
      {true, "unknown"},           {'c', "unknown"},   {3L, "unknown"},
  };
  for (const auto& [parameter, stored] : cases) {
    SCOPED_TRACE(parameter.description());
    const bool isUnknown = stored == "unknown";
    host.log.clear();
    succeed("DROP TABLE IF EXISTS t");
    succeed("CREATE TABLE t (a, b, c)");
    // The second parameter shows that the index moves on, bound or not.
    EXPECT_FALSE(manager.doQuery("INSERT INTO t VALUES (?, ?, ?)", {parameter, "next"}));
    EXPECT_EQ(onlyRow("SELECT typeof(a) || ':' || ifnull(a, '') AS stored, b, c FROM t"),
              (Row{{"stored", isUnknown ? "null:" : stored}, {"b", "next"}, {"c", Value()}}));
    EXPECT_EQ(host.log.messages(), Lines(isUnknown ? 1 : 0, "unknown NSNumber"));
  }
  EXPECT_FALSE(manager.doQuery("DELETE FROM t WHERE b = ?", {"next", "one too many"}));
  EXPECT_EQ(manager.getRowsForQuery("SELECT * FROM t"), std::vector<Row>());
}

TEST_F(OstrelSQLiteManagerTest, aTransactionTellsTheFileFaultAndIsUndoneWhole) {
  using Kind = DatabaseFault::Kind;
  using Access = OstrelSQLiteManager::Access;
  succeed("CREATE TABLE t (a UNIQUE)");
  std::optional<SQLiteConnection> other(path());
  other->run("BEGIN EXCLUSIVE");
  for (const Access access : {Access::reads, Access::writes})
    EXPECT_EQ(OstrelSQLiteManager::Transaction(manager, access).fault().kind, Kind::busy);
  other.reset();
  for (const bool isCommitted : {false, true}) {
    OstrelSQLiteManager::Transaction transaction(manager, Access::writes);
    for (int i = 0; i < 2; ++i) succeed("INSERT INTO t VALUES (1)");
    EXPECT_TRUE(manager.hasFailedStatement());
    EXPECT_EQ(manager.changedRows(), 1);
    EXPECT_EQ(manager.getLastInsertRowID(), 1);
    EXPECT_FALSE(isCommitted && transaction.commit());
  }
  EXPECT_EQ(onlyRow("SELECT a FROM t"), (Row{{"a", 1}}));

  OstrelSQLiteManager::Transaction transaction(manager, Access::writes);
  std::filesystem::rename(path(), path() + "-away");
  succeed("INSERT INTO t VALUES (2)");
  EXPECT_EQ(transaction.commit().kind, Kind::busy) << "another file may be there now";
}

TEST_F(OstrelSQLiteManagerTest, columnsComeBackByTheirType) {
  // clang-format off
  const std::pair<std::string, Value> cases[] = {
      {"2147483647", INT_MAX}, {"2147483648", INT_MIN}, {"4294967297", 1}, {"0.1", 0.1F}, {"1e300", HUGE_VALF},
      {"'it''s'", "it's"}, {"''", ""}, {"'a' || char(0)", std::string("a\0", 2)}, {"x'00ff'", Data{0x00, 0xFF}}, {"NULL", Value()}};
  // clang-format on
  for (const auto& [expression, value] : cases) {
    const Row row = onlyRow("SELECT 1 AS c, x'' AS empty, " + expression + " AS c");
    EXPECT_EQ(row, (Row{{"c", value}})) << expression << " gave " << Value(row).description();
    EXPECT_EQ(row.at("c").numberKind(), value.numberKind()) << expression;
  }
}

TEST_F(OstrelSQLiteManagerTest, theDumpHoldsTablesAndRows) {
  succeed("CREATE TABLE t (id INTEGER PRIMARY KEY AUTOINCREMENT, text)");
  for (const char* value : {"NULL", "'it''s so'", "0.5"})
    succeed(std::string("INSERT INTO t (text) VALUES (") + value + ")");
  const std::string dump = manager.getDatabaseDump();
  const std::string start = "; database test.sqlite;\n";
  ASSERT_NE(dump.find(start), std::string::npos) << dump;
  SQLiteConnection copy(":memory:");
  copy.run(dump.substr(dump.find(start) + start.size()));
  EXPECT_EQ(copy.texts("SELECT id || ifnull(text, 'NULL') FROM t"), (Lines{"1NULL", "2it's so", "30.5"}));
}

}  // namespace
}  // namespace lumora::tests
