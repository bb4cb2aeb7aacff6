#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

struct sqlite3;
struct sqlite3_stmt;

namespace lumora_bench {

/// The tables, as the library makes them.
inline constexpr const char* kEventsTable =
    "CREATE TABLE IF NOT EXISTS ostrel_events (_id INTEGER PRIMARY KEY, event TEXT NOT NULL);";
inline constexpr const char* kCampaignsTable =
    "CREATE TABLE IF NOT EXISTS lmro_inapp (_id INTEGER PRIMARY KEY AUTOINCREMENT NOT NULL, inapp_msg TEXT "
    "NOT NULL, campaignId TEXT NOT NULL unique, event TEXT NOT NULL,startTime TEXT NOT NULL, endTime TEXT "
    "NOT NULL ,enable integer DEFAULT 1 , paused integer DEFAULT 0, inapp_frequency integer);";

/// A connection to a database file for the length of a scope, with a handler for a busy file as the library
/// sets one. What it costs is the floor under the library's own use of SQLite.
class PlainSQLite {
 public:
  /// Throws std::runtime_error, as every operation does.
  explicit PlainSQLite(const std::string& file);
  ~PlainSQLite();
  PlainSQLite(const PlainSQLite&) = delete;
  PlainSQLite& operator=(const PlainSQLite&) = delete;

  /// Writes to a log from now on, and syncs it with each commit.
  void keepLog();
  /// Runs one statement to its end; the number of its rows, whose columns are read.
  int run(const std::string& sql);
  /// The texts of a column in all rows.
  std::vector<std::string> texts(const std::string& sql, int column);
  /// Stores an event's text by a statement that is prepared once.
  void insertEvent(const std::string& text);
  /// Runs statements inside one transaction, which costs the disk one turn only.
  void runTogether(const std::vector<std::string>& statements);

 private:
  sqlite3* database_ = nullptr;
  sqlite3_stmt* insertion_ = nullptr;
};

/// Opens the file, runs one statement and closes it.
int runAlone(const std::string& file, const std::string& sql);

/// The statement that stores an event's text.
std::string eventInsertion(std::string_view text);
/// Empties the events table and fills it with that many rows, numbered from 1.
void fillEvents(const std::string& file, int count, std::string_view text);
/// Creates the library's tables where they are missing.
void createTables(const std::string& file);

}  // namespace lumora_bench
