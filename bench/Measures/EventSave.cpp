// Storing one event that comes alone: against plain SQLite, and with the in-app step that goes ahead of it
// against without.
//
// Each has a file of its own on the same disk: the library's connection stays open, and would be in the way
// of a journal of another kind.
#include <fmt/format.h>

#include <string>
#include <vector>

#include "bench/BenchHost.h"
#include "bench/Cost.h"
#include "bench/PlainSQLite.h"
#include "bench/Roles.h"
#include "bench/Sampling.h"
#include "bench/TypicalEvent.h"
#include "lumora/Events/LMREventLogger.h"
#include "lumora/InApp/LMRInAppHandler.h"
#include "lumora/Platform/Platform.h"
#include "lumora/Storage/LMRDataManager.h"
#include "lumora/Util/LMRSettingsKeys.h"
#include "lumora/Util/LMRUtil.h"

namespace lumora_bench {
namespace {

/// Well below the number of events at which the library begins to drop new ones.
constexpr int kMostRows = 500;

/// Empties the tables before they grow long.
class TableKeeper {
 public:
  explicit TableKeeper(std::vector<std::string> files) : files_(std::move(files)) {}
  void operator()() {
    if (++rows_ % kMostRows != 0) return;
    for (const std::string& file : files_) runAlone(file, "delete from ostrel_events");
  }

 private:
  std::vector<std::string> files_;
  int rows_ = 0;
};

/// Two looks for the tables, the row, the count of rows: each with an open and a close.
void saveByFourConnections(const std::string& file, const std::string& insertion) {
  createTables(file);
  runAlone(file, insertion);
  runAlone(file, "SELECT COUNT(*) FROM ostrel_events");
}

void saveByPlainSQLite(PlainSQLite& database, const std::string& insertion) {
  for (const std::string& statement :
       {std::string("BEGIN EXCLUSIVE"), insertion, std::string("SELECT COUNT(*) FROM ostrel_events"),
        std::string("COMMIT")})
    database.run(statement);
}

}  // namespace

Report measureEventSave(const std::string& folder) {
  constexpr int rounds = 1500;
  const BenchHost& host = BenchHost::install(folder);
  lumora::LMRDataManager& store = lumora::LMRDataManager::sharedInstance();
  const lumora::Dictionary record = typicalRecord(typicalDetails()->actionMetadata());
  const std::string insertion = eventInsertion(typicalText());
  const std::string plainFile = folder + "/plain.sqlite";
  const std::string journalFile = folder + "/journal.sqlite";
  for (const std::string& file : {plainFile, journalFile}) createTables(file);
  PlainSQLite kept(plainFile);
  kept.keepLog();
  const auto costs =
      costsByTurns(rounds, TableKeeper({host.databaseFile(), plainFile, journalFile}),
                   {[&] { store.saveEventInDB(record); }, [&] { saveByPlainSQLite(kept, insertion); },
                    [&] { saveByFourConnections(journalFile, insertion); }});
  const Cost& library = costs.at(0);
  const Cost& plain = costs.at(1);
  return {
      .rows = {{.measure = "storing one event",
                .unit = "µs",
                .value = library.microseconds,
                .floor = plain.microseconds,
                .maximumRatio = 1.10},
               {.measure = "storing one event, against four connections",
                .unit = "µs",
                .value = library.microseconds,
                .floor = costs.at(2).microseconds,
                .maximumRatio = 0.7},
               {.measure = "storing one event: opens of the database",
                .unit = "opens",
                .value = library.opens,
                .floor = plain.opens,
                .maximumValue = 1},
               {.measure = "storing one event: syncs of files",
                .unit = "syncs",
                .value = library.syncs,
                .floor = plain.syncs,
                .maximumValue = 3},
               {.measure = "storing one event: syncs of the folder",
                .unit = "syncs",
                .value = library.folderSyncs,
                .floor = plain.folderSyncs}},
      .notes = {fmt::format(
          "Storing one event: medians of {}; floor: plain SQLite with the same statements in one "
          "transaction, a log and a connection that is kept, or a rollback journal and a connection for "
          "each of four statements. {:.0f} bytes are written "
          "(floor {:.0f}), {:.0f} µs of processor time taken (floor {:.0f}, four connections {:.0f}).",
          rounds, library.bytes, plain.bytes, library.processor, plain.processor, costs.at(2).processor)}};
}

Report measureInAppStep(const std::string& folder) {
  constexpr int rounds = 3000;
  const BenchHost& host = BenchHost::install(folder);
  lumora::LMREventLogger& logger = lumora::LMREventLogger::sharedInstance();
  lumora::LMRDataManager& store = lumora::LMRDataManager::sharedInstance();
  const lumora::Dictionary details = typicalDetails()->actionMetadata();
  lumora::LMRUtil::setBool(true, lumora::kLmroInit);
  logger.setObserver(lumora::LMRInAppHandler::sharedInstance());
  const auto saveWithoutStep = [&] {
    const lumora::Dictionary record = typicalRecord(details);
    if (!lumora::platform().settings.object(lumora::kLmroInit).boolValue()) return;
    store.saveEventInDB(record);
  };
  const auto [value, floor] = samplePairs(
      rounds, TableKeeper({host.databaseFile()}), [&] { logger.saveEvent(typicalRecord(details)); },
      saveWithoutStep);
  return {.rows = {{.measure = "recording an event, no campaign waiting",
                    .unit = "µs",
                    .value = median(value),
                    .floor = median(floor),
                    .maximumRatio = 1.02}},
          .notes = {"Recording an event: medians of 3000; floor: the same event without the in-app step."}};
}

}  // namespace lumora_bench
