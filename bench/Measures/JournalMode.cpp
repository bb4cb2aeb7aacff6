// The two ways in which SQLite can keep a transaction whole, with a connection for each transaction as the
// library has it: the rollback journal that it uses (value) beside a write-ahead log (floor). Plain SQLite.
#include <fmt/format.h>

#include <string>
#include <vector>

#include "bench/BenchHost.h"
#include "bench/Cost.h"
#include "bench/PlainSQLite.h"
#include "bench/Roles.h"
#include "bench/TypicalEvent.h"

namespace lumora_bench {
namespace {

std::string preparedFile(const std::string& folder, const std::string& mode) {
  const std::string file = folder + "/" + mode + ".sqlite";
  runAlone(file, "PRAGMA journal_mode = " + mode);
  createTables(file);
  return file;
}

Work storing(const std::string& file, int events) {
  return [file, statements = std::vector(static_cast<std::size_t>(events), eventInsertion(typicalText()))] {
    PlainSQLite(file).runTogether(statements);
  };
}

void addRows(Report& report, const std::string& what, const std::vector<Cost>& costs) {
  const auto add = [&](const char* quantity, const char* unit, double Cost::*field) {
    report.rows.push_back({.measure = fmt::format("{}, rollback journal beside log: {}", what, quantity),
                           .unit = unit,
                           .value = costs.at(0).*field,
                           .floor = costs.at(1).*field});
  };
  add("time", "µs", &Cost::microseconds);
  add("syncs", "syncs", &Cost::syncs);
  add("syncs of the folder", "syncs", &Cost::folderSyncs);
  add("written", "bytes", &Cost::bytes);
}

}  // namespace

Report measureJournalMode(const std::string& folder) {
  constexpr int rounds = 200;
  BenchHost::install(folder);
  const std::string rollback = preparedFile(folder, "delete");
  const std::string log = preparedFile(folder, "wal");
  Report report;
  for (const auto& [what, events] : {std::pair("one event", 1), {"50 events", 50}})
    addRows(report, what, costsByTurns(rounds, [] {}, {storing(rollback, events), storing(log, events)}));
  report.notes.push_back(
      fmt::format("Journal: {} transactions of plain SQLite each, with a connection of their own; in the "
                  "floor's column the write-ahead log, which the close of its last connection carries over "
                  "and removes.",
                  rounds));
  return report;
}

}  // namespace lumora_bench
