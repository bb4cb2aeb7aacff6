#include "lumora/Storage/OstrelSQLiteManager.h"

#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <limits>
#include <string>

#include "lumora/Testing/FakePlatform.h"
#include "tests/Storage/SQLiteConnection.h"
#include "tests/Support/TemporaryFolder.h"

namespace lumora::tests {
namespace {

using Lines = std::vector<std::string>;
using Row = OstrelSQLiteManager::Row;
using NumberKind = Value::NumberKind;

class OstrelSQLiteManagerTest : public ::testing::Test {
 protected:
  std::string path() { return host.files.documentsDirectory() + "/test.sqlite"; }

  void succeed(const std::string& sql) {
    const auto error = manager.doQuery(sql);
    EXPECT_FALSE(error) << sql << ": " << error->description;
  }

  Row onlyRow(const std::string& sql) {
    const auto rows = manager.getRowsForQuery(sql);
    EXPECT_EQ(rows.size(), 1U) << sql;
    return rows.empty() ? Row() : rows.front();
  }

  testing::FakePlatform& host = testing::FakePlatform::install();
  OstrelSQLiteManager manager{"test.sqlite"};
};

TEST_F(OstrelSQLiteManagerTest, aNameLiesInTheDocumentsFolderAndAPathStays) {
  EXPECT_EQ(manager.getDatabasePath(), path());
  EXPECT_FALSE(std::filesystem::exists(path()));

  const testing::TemporaryFolder folder;
  const std::string elsewhere = folder / "other.sqlite";
  OstrelSQLiteManager other(elsewhere);
  EXPECT_EQ(other.getDatabasePath(), host.files.documentsDirectory() + "/" + elsewhere);
  std::ofstream{elsewhere};
  EXPECT_EQ(other.getDatabasePath(), elsewhere);
}

TEST_F(OstrelSQLiteManagerTest, everyStatementEndsClosed) {
  succeed("CREATE TABLE t (a)");
  EXPECT_EQ(manager.db(), nullptr);
  EXPECT_FALSE(manager.openDatabase());
  EXPECT_NE(manager.db(), nullptr);
  succeed("INSERT INTO t VALUES (1)");
  EXPECT_EQ(manager.db(), nullptr);
  EXPECT_FALSE(manager.openDatabase());
  EXPECT_EQ(manager.getRowsForQuery("SELECT * FROM t WHERE a = 2"), std::vector<Row>());
  EXPECT_EQ(manager.db(), nullptr);
  EXPECT_FALSE(manager.closeDatabase());
}

TEST_F(OstrelSQLiteManagerTest, onlyAStepThatFailsIsAnError) {
  succeed("CREATE TABLE t (a NOT NULL UNIQUE)");
  const Lines successes = {
      "this is no SQL",           "",
      "SELECT * FROM absent",     "INSERT INTO t VALUES (1)",
      "INSERT INTO t VALUES (1)", "INSERT INTO t VALUES (NULL)",
      "SELECT * FROM t",          "INSERT INTO t VALUES (2); INSERT INTO t VALUES (3)",
  };
  for (const std::string& sql : successes) succeed(sql);
  EXPECT_EQ(manager.getRowsForQuery("SELECT a FROM t"), (std::vector<Row>{{{"a", 1}}, {{"a", 2}}}));

  const auto error = manager.doQuery("SELECT abs(-9223372036854775808)");
  ASSERT_TRUE(error);
  EXPECT_EQ(error->domain, "SQLite Error");
  EXPECT_EQ(error->code, 3);
  EXPECT_EQ(error->description, "integer overflow");
  EXPECT_EQ(manager.db(), nullptr);
  EXPECT_EQ(host.log.messages(), Lines());
}

TEST_F(OstrelSQLiteManagerTest, aFileThatCannotBeOpenedIsAnError) {
  std::filesystem::create_directory(path());
  const std::string message = "The database could not be opened: unable to open database file";
  auto error = manager.doQuery("CREATE TABLE t (a)");
  ASSERT_TRUE(error);
  EXPECT_EQ(error->domain, "SQLite Error");
  EXPECT_EQ(error->code, 1);
  EXPECT_EQ(error->description, message);

  manager.closeDatabase();
  error = manager.openDatabase();
  ASSERT_TRUE(error);
  EXPECT_EQ(error->description, message);
  manager.closeDatabase();
  EXPECT_EQ(manager.getLastInsertRowID(), 0);
  manager.closeDatabase();
  EXPECT_EQ(manager.getRowsForQuery("SELECT 1"), std::vector<Row>());

  std::filesystem::remove(path());
  succeed("CREATE TABLE t (a)");
}

TEST_F(OstrelSQLiteManagerTest, aRefusedCloseDropsTheConnectionAllTheSame) {
  ASSERT_FALSE(manager.openDatabase());
  sqlite3* const connection = manager.db();
  sqlite3_stmt* unfinished = nullptr;
  ASSERT_EQ(sqlite3_prepare_v2(connection, "SELECT 1", -1, &unfinished, nullptr), SQLITE_OK);
  const auto error = manager.closeDatabase();
  ASSERT_TRUE(error);
  EXPECT_EQ(error->domain, "SQLite Error");
  EXPECT_EQ(error->code, 4);
  EXPECT_EQ(error->description,
            "The database could not be closed: unable to close due to unfinalized statements or unfinished "
            "backups");
  EXPECT_EQ(manager.db(), nullptr);
  sqlite3_finalize(unfinished);
  sqlite3_close(connection);
}

TEST_F(OstrelSQLiteManagerTest, bindsTextsAndThreeKindsOfNumber) {
  constexpr int unbound = 0;
  const struct {
    Value parameter;
    std::string stored;
    int unknownNumbers = unbound;
  } cases[] = {
      {"a 'quoted' \xF0\x9F\x98\x80", "text:a 'quoted' \xF0\x9F\x98\x80"},
      {"", "text:"},
      {7, "integer:7"},
      {-1, "integer:-1"},
      {2.5F, "real:2.5"},
      {Value((1LL << 32) + 7), "integer:7"},
      {2.5, "null:", 1},
      {true, "null:", 1},
      {'c', "null:", 1},
      {static_cast<short>(3), "null:", 1},
      {3L, "null:", 1},
      {Value(), "null:"},
      {dateFromSeconds(1), "null:"},
      {Data{1}, "null:"},
      {List{1}, "null:"},
  };
  for (const auto& test : cases) {
    SCOPED_TRACE(test.parameter.description());
    host.log.clear();
    succeed("DROP TABLE IF EXISTS t");
    succeed("CREATE TABLE t (a, b)");
    // The parameter after it shows that the index moves on, bound or not.
    const auto error = manager.doQuery("INSERT INTO t VALUES (?, ?)", {test.parameter, "next"});
    EXPECT_FALSE(error);
    EXPECT_EQ(onlyRow("SELECT typeof(a) || ':' || ifnull(a, '') AS stored, b FROM t"),
              (Row{{"stored", test.stored}, {"b", "next"}}));
    EXPECT_EQ(host.log.messages(), Lines(static_cast<std::size_t>(test.unknownNumbers), "unknown NSNumber"));
  }
}

TEST_F(OstrelSQLiteManagerTest, bindsAListInOrderAndToleratesItsLength) {
  succeed("CREATE TABLE t (a, b, c, d, e)");
  EXPECT_FALSE(manager.doQuery("INSERT INTO t VALUES (?, ?, ?, ?, ?)", {"a", 7, 2.5F, 2.5, Value()}));
  EXPECT_EQ(onlyRow("SELECT * FROM t"),
            (Row{{"a", "a"}, {"b", 7}, {"c", 2.5F}, {"d", Value()}, {"e", Value()}}));
  EXPECT_EQ(host.log.messages(), Lines{"unknown NSNumber"});

  EXPECT_FALSE(manager.doQuery("DELETE FROM t WHERE a = ?", {"a", "one too many"}));
  EXPECT_FALSE(manager.doQuery("INSERT INTO t VALUES (?, ?, 1, 1, 1)", {"only one"}));
  EXPECT_EQ(onlyRow("SELECT a, b FROM t"), (Row{{"a", "only one"}, {"b", Value()}}));
  EXPECT_FALSE(manager.doQuery("no SQL with ?", {"a"}));
}

TEST_F(OstrelSQLiteManagerTest, columnsComeBackByTheirType) {
  const struct {
    std::string expression;
    Value value;
    std::optional<NumberKind> kind = std::nullopt;
  } cases[] = {
      {"42", 42, NumberKind::integer},
      {"2147483647", 2147483647, NumberKind::integer},
      {"2147483648", std::numeric_limits<int>::min(), NumberKind::integer},
      {"4294967297", 1, NumberKind::integer},
      {"-9223372036854775808", 0, NumberKind::integer},
      {"0.1", 0.1F, NumberKind::floating},
      {"16777217.0", 16777216.0F, NumberKind::floating},
      {"1e300", std::numeric_limits<float>::infinity(), NumberKind::floating},
      {"'text \xC3\xA4'", "text \xC3\xA4"},
      {"''", ""},
      {"x'00ff'", Data{0x00, 0xFF}},
      {"NULL", Value()},
  };
  for (const auto& test : cases) {
    const Row row = onlyRow("SELECT " + test.expression + " AS c");
    ASSERT_TRUE(row.contains("c")) << test.expression;
    EXPECT_EQ(row.at("c"), test.value) << test.expression << " gave " << row.at("c").description();
    EXPECT_EQ(row.at("c").numberKind(), test.kind) << test.expression;
  }
  EXPECT_EQ(onlyRow("SELECT x'' AS c, 1 AS d"), (Row{{"d", 1}}));
  EXPECT_EQ(onlyRow("SELECT 1 AS c, 'later' AS c"), (Row{{"c", "later"}}));
  EXPECT_EQ(onlyRow("SELECT 1 AS '', COUNT(*)"), (Row{{"", 1}, {"COUNT(*)", 1}}));
}

TEST_F(OstrelSQLiteManagerTest, aMalformedQueryIsLoggedAndGivesNoRows) {
  for (const char* sql : {"SELEKT 1", "SELECT * FROM absent", "SELECT ("}) {
    host.log.clear();
    EXPECT_EQ(manager.getRowsForQuery(sql), std::vector<Row>()) << sql;
    const Lines lines = host.log.messages();
    ASSERT_EQ(lines.size(), 1U) << sql;
    EXPECT_TRUE(lines[0].starts_with("SQLite Error")) << lines[0];
    EXPECT_EQ(manager.db(), nullptr) << sql;
  }
  host.log.clear();
  EXPECT_EQ(manager.getRowsForQuery(""), std::vector<Row>());
  EXPECT_EQ(host.log.messages(), Lines());
}

TEST_F(OstrelSQLiteManagerTest, theLastInsertedRowIsThatOfTheConnectionHeld) {
  succeed("CREATE TABLE t (a)");
  succeed("INSERT INTO t VALUES (1)");
  EXPECT_EQ(manager.getLastInsertRowID(), 0);
  ASSERT_NE(manager.db(), nullptr);
  const std::string sql = "INSERT INTO t (_rowid_) VALUES (5000000000)";
  ASSERT_EQ(sqlite3_exec(manager.db(), sql.c_str(), nullptr, nullptr, nullptr), SQLITE_OK);
  EXPECT_EQ(manager.getLastInsertRowID(), 5000000000);
}

TEST_F(OstrelSQLiteManagerTest, theDumpHoldsTablesAndRows) {
  succeed("CREATE TABLE t (a, b)");
  succeed("INSERT INTO t VALUES (1, NULL)");
  succeed("CREATE TABLE quotes (id INTEGER PRIMARY KEY AUTOINCREMENT, text)");
  succeed("INSERT INTO quotes (text) VALUES ('it''s ''so'', isn''t it')");
  succeed("INSERT INTO quotes (text) VALUES (0.5)");
  succeed("CREATE TABLE empty (a)");
  const std::string dump = manager.getDatabaseDump();

  std::string rest = dump;
  for (int line = 0; line < 4; ++line) {
    EXPECT_TRUE(rest.starts_with(";")) << rest;
    rest.erase(0, rest.find('\n') + 1);
  }
  EXPECT_EQ(rest,
            "; database test.sqlite;\n"
            "CREATE TABLE t (a, b);\n"
            "insert into t (a,b) values (1,null);\n"
            "CREATE TABLE quotes (id INTEGER PRIMARY KEY AUTOINCREMENT, text);\n"
            "insert into quotes (id,text) values (1,'it''s ''so'', isn''t it');\n"
            "insert into quotes (id,text) values (2,0.5);\n"
            "CREATE TABLE empty (a);\n");

  // What it says of the rows can be read back.
  SQLiteConnection copy(":memory:");
  copy.run(rest.substr(rest.find('\n') + 1));
  EXPECT_EQ(copy.texts("SELECT text FROM quotes"), (Lines{"it's 'so', isn't it", "0.5"}));
}

class BusyDatabaseTest : public OstrelSQLiteManagerTest {
 protected:
  BusyDatabaseTest() {
    succeed("CREATE TABLE t (a)");
    host.clock.setSleepHook([this](std::chrono::milliseconds duration) {
      waited += duration;
      if (waited >= releasedAfter && isLocked) unlock();
    });
    other.run("BEGIN EXCLUSIVE");
  }
  ~BusyDatabaseTest() override { host.clock.setSleepHook(nullptr); }

  void unlock() {
    isLocked = false;
    other.run("INSERT INTO t VALUES ('other')");
    other.run("COMMIT");
  }

  SQLiteConnection other{path()};
  std::chrono::milliseconds waited{0};
  std::chrono::milliseconds releasedAfter{std::chrono::hours(1)};
  bool isLocked = true;
};

TEST_F(BusyDatabaseTest, statementsWaitForAnotherHolder) {
  releasedAfter = std::chrono::milliseconds(9900);
  succeed("INSERT INTO t VALUES ('own')");
  EXPECT_EQ(other.texts("SELECT a FROM t"), (Lines{"other", "own"}));
  EXPECT_GE(waited, releasedAfter);
}

TEST_F(BusyDatabaseTest, queriesWaitForAnotherHolder) {
  releasedAfter = std::chrono::seconds(3);
  EXPECT_EQ(manager.getRowsForQuery("SELECT a FROM t"), (std::vector<Row>{{{"a", "other"}}}));
}

TEST_F(BusyDatabaseTest, theWaitEndsAfterTenSeconds) {
  succeed("INSERT INTO t VALUES ('own')");
  EXPECT_EQ(waited, std::chrono::seconds(10));
  EXPECT_EQ(manager.getRowsForQuery("SELECT a FROM t"), std::vector<Row>());
  EXPECT_EQ(waited, std::chrono::seconds(20));
  EXPECT_EQ(manager.db(), nullptr);
  unlock();
  EXPECT_EQ(other.texts("SELECT a FROM t"), Lines{"other"});
}

}  // namespace
}  // namespace lumora::tests
