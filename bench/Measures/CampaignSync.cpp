// Receiving a sync answer of 1000 campaigns whose images are in the cache: parsing, checking and storing,
// against plain SQLite inserting the same rows in one transaction; and reading them back into the handler's
// map.
#include <fmt/format.h>

#include <stdexcept>
#include <string>
#include <vector>

#include "bench/BenchHost.h"
#include "bench/Campaigns.h"
#include "bench/PlainSQLite.h"
#include "bench/Roles.h"
#include "bench/Sampling.h"
#include "lumora/InApp/LMRInAppHandler.h"
#include "lumora/InApp/LMRInAppMessage.h"
#include "lumora/Platform/JSON.h"
#include "lumora/Storage/LMRDataManager.h"

namespace lumora_bench {
namespace {

constexpr int kCampaigns = 1000;
constexpr double kMicrosecondsPerMillisecond = 1000;

std::string syncAnswer(int count) {
  const lumora::Dictionary answer{{"success", true}, {"lst", 1}, {"inapp", campaigns(count, count)}};
  return lumora::writeJSON(answer).value();
}

/// What the library does with the campaigns of an answer, up to the refill of the handler's map.
void receive(const std::string& answer) {
  lumora::LMRDataManager& store = lumora::LMRDataManager::sharedInstance();
  const auto decoded = lumora::parseJSON(answer);
  const lumora::LMRDataManager::Burst together;
  for (const lumora::Value& campaign : *lumora::findValue(*decoded->asDictionary(), "inapp")->asList()) {
    const auto message = lumora::LMRInAppMessage::initWithDictionary(*campaign.asDictionary());
    if (message && message->isValid()) store.saveCampaign(message->row());
  }
}

std::vector<std::string> insertionsOf(int count) {
  std::vector<std::string> statements;
  for (const lumora::Value& campaign : campaigns(count, count)) {
    const auto message = lumora::LMRInAppMessage::initWithDictionary(*campaign.asDictionary());
    if (!message) throw std::runtime_error("a campaign was dropped");
    statements.push_back(campaignInsertion(*message));
  }
  return statements;
}

Work receiving(int count) {
  return [answer = syncAnswer(count)] { receive(answer); };
}

Work receivingByPlainSQLite(const std::string& file, int count) {
  return [file, statements = insertionsOf(count)] { PlainSQLite(file).runTogether(statements); };
}

double medianMilliseconds(const Samples& samples) {
  return median(samples) / kMicrosecondsPerMillisecond;
}

/// The statements of a refill: the expired campaign, the triggers, and for each of them the campaign and, as
/// it is read, its status.
void refillByPlainSQLite(const std::string& file, int triggers) {
  runAlone(file,
           "select campaignId from lmro_inapp where datetime(endTime/1000,'unixepoch') < datetime('now')");
  runAlone(file, "select DISTINCT event from lmro_inapp");
  for (int i = 0; i < triggers; ++i) {
    runAlone(file,
             fmt::format("select * from lmro_inapp where event = 't{}' AND enable = 1 AND paused = 0 AND "
                         "datetime(startTime/1000,'unixepoch') < datetime('now') AND "
                         "datetime(endTime/1000,'unixepoch') > datetime('now')  ORDER BY _id DESC LIMIT 1",
                         i));
    runAlone(file, statusUpdate(fmt::format("c{}", kCampaigns - triggers + i)));
  }
}

}  // namespace

Report measureCampaignSync(const std::string& folder) {
  constexpr int rounds = 9;
  const BenchHost& host = BenchHost::install(folder);
  cacheImages(host.cachesFolder(), kCampaigns);
  const auto samples =
      sampleByTurns(rounds, [&] { removeCampaigns(host.databaseFile()); },
                    {receiving(kCampaigns), receivingByPlainSQLite(host.databaseFile(), kCampaigns),
                     receiving(kCampaigns / 2)});
  const double library = medianMilliseconds(samples.at(0));
  return {.rows = {{.measure = "receiving 1000 campaigns",
                    .unit = "ms",
                    .value = library,
                    .floor = medianMilliseconds(samples.at(1)),
                    .maximumRatio = 5},
                   {.measure = "receiving 1000 campaigns, against twice 500",
                    .unit = "ms",
                    .value = library,
                    .floor = 2 * medianMilliseconds(samples.at(2)),
                    .maximumRatio = 1.25}},
          .notes = {
              "Receiving campaigns: medians of 9; floor: plain SQLite inserting the rows in one transaction; "
              "the second line's floor is twice the time of 500 campaigns."}};
}

Report measureMapRefill(const std::string& folder) {
  constexpr int triggers = 100;
  constexpr int rounds = 15;
  const BenchHost& host = BenchHost::install(folder);
  auto& handler = lumora::LMRInAppHandler::sharedInstance();
  cacheImages(host.cachesFolder(), kCampaigns);
  storeCampaigns(host.databaseFile(), campaigns(kCampaigns, triggers));
  const auto samples = samplePairs(
      rounds, [] {}, [&] { handler.refill(); }, [&] { refillByPlainSQLite(host.databaseFile(), triggers); });
  return {.rows = {{.measure = "refilling the map, 1000 campaigns of 100 triggers",
                    .unit = "ms",
                    .value = medianMilliseconds(samples.value),
                    .floor = medianMilliseconds(samples.floor)}},
          .notes = {fmt::format(
              "Refilling the map: medians of {}; floor: plain SQLite running the same statements, "
              "the status update of every campaign read among them.",
              rounds)}};
}

}  // namespace lumora_bench
