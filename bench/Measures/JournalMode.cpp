// Two ways in which SQLite can keep a transaction whole: a write-ahead log with a connection that is kept, as
// the library has it (value), beside a rollback journal with a connection for each transaction (floor). Plain
// SQLite.
#include <fmt/format.h>

#include <memory>
#include <string>
#include <vector>

#include "bench/BenchHost.h"
#include "bench/Cost.h"
#include "bench/PlainSQLite.h"
#include "bench/Roles.h"
#include "bench/TypicalEvent.h"

namespace lumora_bench {
namespace {

std::vector<std::string> insertions(int events) {
  return std::vector(static_cast<std::size_t>(events), eventInsertion(typicalText()));
}

Work storingWithLog(const std::shared_ptr<PlainSQLite>& database, int events) {
  return [database, statements = insertions(events)] { database->runTogether(statements); };
}

Work storingWithJournal(const std::string& file, int events) {
  return [file, statements = insertions(events)] { PlainSQLite(file).runTogether(statements); };
}

void addRows(Report& report, const std::string& what, const std::vector<Cost>& costs) {
  const auto add = [&](const char* quantity, const char* unit, double Cost::*field) {
    report.rows.push_back({.measure = fmt::format("{}, log beside rollback journal: {}", what, quantity),
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
  const std::string journalFile = folder + "/journal.sqlite";
  const std::string logFile = folder + "/log.sqlite";
  for (const std::string& file : {journalFile, logFile}) createTables(file);
  const auto log = std::make_shared<PlainSQLite>(logFile);
  log->keepLog();
  Report report;
  for (const auto& [what, events] : {std::pair("one event", 1), {"50 events", 50}}) {
    addRows(
        report, what,
        costsByTurns(rounds, [] {}, {storingWithLog(log, events), storingWithJournal(journalFile, events)}));
  }
  report.notes.push_back(
      fmt::format("Journal: {} transactions of plain SQLite each: a log and one connection for all; in the "
                  "floor's column a rollback journal and a connection for each.",
                  rounds));
  return report;
}

}  // namespace lumora_bench
