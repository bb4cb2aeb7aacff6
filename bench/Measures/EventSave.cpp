// Storing one event: against plain SQLite, and with the in-app step that goes ahead of it against without.
//
// Value and floor work on the same file, so they meet the same pages and the same disk; what one adds the
// other finds.
#include "bench/BenchHost.h"
#include "bench/PlainSQLite.h"
#include "bench/Roles.h"
#include "bench/Sampling.h"
#include "bench/TypicalEvent.h"
#include "lumora/Events/LMREventLogger.h"
#include "lumora/Facade/LumoraActionMetaData.h"
#include "lumora/InApp/LMRInAppHandler.h"
#include "lumora/Platform/Platform.h"
#include "lumora/Storage/LMRDataManager.h"
#include "lumora/Util/LMRSettingsKeys.h"
#include "lumora/Util/LMRUtil.h"

namespace lumora_bench {
namespace {

/// Well below the number of events at which the library begins to drop new ones.
constexpr int kMostRows = 500;

/// Empties the table before it grows long.
class TableKeeper {
 public:
  explicit TableKeeper(std::string file) : file_(std::move(file)) {}
  void operator()() {
    if (++rows_ % kMostRows == 0) runAlone(file_, "delete from ostrel_events");
  }

 private:
  std::string file_;
  int rows_ = 0;
};

void saveByPlainSQLite(const std::string& file, const std::string& insertion) {
  PlainSQLite database(file);
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
  const auto [value, floor] = samplePairs(
      rounds, TableKeeper(host.databaseFile()), [&] { store.saveEventInDB(record); },
      [&] { saveByPlainSQLite(host.databaseFile(), insertion); });
  return {.rows = {{.measure = "storing one event",
                    .unit = "µs",
                    .value = median(value),
                    .floor = median(floor),
                    .maximumRatio = 1.10}},
          .notes = {"Storing one event: medians of 1500; floor: plain SQLite with the same statements in one "
                    "transaction on the same file."}};
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
      rounds, TableKeeper(host.databaseFile()), [&] { logger.saveEvent(typicalRecord(details)); },
      saveWithoutStep);
  return {.rows = {{.measure = "recording an event, no campaign waiting",
                    .unit = "µs",
                    .value = median(value),
                    .floor = median(floor),
                    .maximumRatio = 1.02}},
          .notes = {"Recording an event: medians of 3000; floor: the same event without the in-app step."}};
}

}  // namespace lumora_bench
