#pragma once

#include <span>
#include <string>

#include "lumora/Storage/OstrelSQLiteManager.h"

namespace lumora {

/// A table of the database: its columns, the one that holds a JSON object first.
struct DatabaseTable {
  const char* name;
  const char* statement;  ///< Creates it.
  std::span<const char* const> columns;
};

/// The tables of the database, in the order in which they are made.
std::span<const DatabaseTable> databaseTables();

/// How a database compares with ours. Columns that are not ours are a newer version's and do not matter.
enum class DatabaseSchema {
  whole,
  lacksTables,
  lacksColumns,  ///< A table is another program's.
  lacksNames,    ///< A view or an index has a table's name.
};
DatabaseSchema schemaOf(OstrelSQLiteManager& sql);
/// What is wrong with a database that cannot be made ours by adding tables; null when it is ours.
const char* foreignness(DatabaseSchema schema);

}  // namespace lumora
