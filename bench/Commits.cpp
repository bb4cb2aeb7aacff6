#include "bench/Commits.h"

#include <sqlite3.h>

#include <map>
#include <mutex>
#include <string_view>
#include <utility>

namespace lumora_bench {
namespace {

std::mutex mutex;
std::vector<Commit> commits;
/// What each connection had changed at its last commit.
std::map<sqlite3*, int> changedRows;

/// SQLite tells of a statement once it has ended.
int noteStatement(unsigned, void* context, void* statement, void*) {
  const char* const sql = sqlite3_sql(static_cast<sqlite3_stmt*>(statement));
  if (!sql || std::string_view(sql) != "COMMIT") return 0;
  const auto end = std::chrono::steady_clock::now();
  auto* const database = static_cast<sqlite3*>(context);
  const std::lock_guard lock(mutex);
  const int changed = sqlite3_total_changes(database);
  const int rows = changed - std::exchange(changedRows[database], changed);
  if (rows > 0) commits.push_back({end, rows});
  return 0;
}

int watch(sqlite3* database, char**, const void*) {
  {
    const std::lock_guard lock(mutex);
    changedRows[database] = 0;
  }
  return sqlite3_trace_v2(database, SQLITE_TRACE_PROFILE, noteStatement, database);
}

}  // namespace

void watchCommits() {
  sqlite3_auto_extension(reinterpret_cast<void (*)()>(watch));
}

std::vector<Commit> takeCommits() {
  const std::lock_guard lock(mutex);
  return std::exchange(commits, {});
}

}  // namespace lumora_bench
