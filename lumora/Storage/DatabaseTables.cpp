// The tables, and how a file that was found compares with them. What becomes of a file that is not ours is
// decided in LMRDataManagerFile.cpp.
#include "lumora/Storage/DatabaseTables.h"

#include <algorithm>
#include <set>

namespace lumora {
namespace {

constexpr const char* eventColumns[] = {"event", "_id"};
constexpr const char* campaignColumns[] = {"inapp_msg", "_id",    "campaignId", "event",          "startTime",
                                           "endTime",   "enable", "paused",     "inapp_frequency"};

/// The events come first: what is carried over from a corrupt file is counted by the first table.
constexpr DatabaseTable tables[] = {
    {"ostrel_events",
     "CREATE TABLE IF NOT EXISTS ostrel_events (_id INTEGER PRIMARY KEY, event TEXT NOT NULL);",
     eventColumns},
    {"lmro_inapp",
     "CREATE TABLE IF NOT EXISTS lmro_inapp (_id INTEGER PRIMARY KEY AUTOINCREMENT NOT NULL, inapp_msg TEXT "
     "NOT "
     "NULL, campaignId TEXT NOT NULL unique, event TEXT NOT NULL,startTime TEXT NOT NULL, endTime TEXT NOT "
     "NULL "
     ",enable integer DEFAULT 1 , paused integer DEFAULT 0, inapp_frequency integer);",
     campaignColumns},
};

std::set<std::string> columnsOf(OstrelSQLiteManager& sql, const std::string& table) {
  std::set<std::string> columns;
  for (const auto& row : sql.getRowsForQuery("SELECT name FROM pragma_table_info('" + table + "')"))
    columns.insert(row.at("name").description());
  return columns;
}

/// Tables share their names with views and indexes; case does not matter.
bool isNameTaken(OstrelSQLiteManager& sql, const std::string& table) {
  return !sql.getRowsForQuery("SELECT 1 FROM sqlite_master WHERE type IN ('view','index') AND name='" +
                              table + "' COLLATE NOCASE")
              .empty();
}

}  // namespace

std::span<const DatabaseTable> databaseTables() {
  return tables;
}

DatabaseSchema schemaOf(OstrelSQLiteManager& sql) {
  DatabaseSchema schema = DatabaseSchema::whole;
  for (const DatabaseTable& table : tables) {
    if (isNameTaken(sql, table.name)) return DatabaseSchema::lacksNames;
    const auto present = columnsOf(sql, table.name);
    const auto isPresent = [&](const char* column) { return present.contains(column); };
    if (present.empty())
      schema = DatabaseSchema::lacksTables;
    else if (!std::ranges::all_of(table.columns, isPresent))
      return DatabaseSchema::lacksColumns;
  }
  return schema;
}

const char* foreignness(DatabaseSchema schema) {
  switch (schema) {
    case DatabaseSchema::lacksColumns:
      return "a column is missing";
    case DatabaseSchema::lacksNames:
      return "a table's name is another object's";
    default:
      return nullptr;
  }
}

}  // namespace lumora
