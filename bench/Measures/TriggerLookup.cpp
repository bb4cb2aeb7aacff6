// What an event costs for which no campaign waits, with 1000 stored campaigns (value) and with 10 (floor).
#include <benchmark/benchmark.h>

#include <memory>

#include "bench/BenchHost.h"
#include "bench/Campaigns.h"
#include "bench/Roles.h"
#include "bench/Sampling.h"
#include "bench/TypicalEvent.h"
#include "lumora/InApp/LMRInAppHandler.h"

namespace lumora_bench {
namespace {

using MapOfEvents = std::shared_ptr<const lumora::LMRInAppHandler::EventMap>;

/// The handler's map for that many stored campaigns, each with a trigger of its own.
MapOfEvents mapOf(int count, const BenchHost& host) {
  cacheImages(host.cachesFolder(), count);
  storeCampaigns(host.databaseFile(), campaigns(count, count));
  lumora::LMRInAppHandler::sharedInstance().refill();
  return lumora::LMRInAppHandler::sharedInstance().lmrInappEvents();
}

ShortWork lookup(const char* name, const MapOfEvents& events, const lumora::Dictionary& event) {
  return {name, [events] { lumora::LMRInAppHandler::sharedInstance().setLmrInappEvents(events); },
          [event] { lumora::LMRInAppHandler::sharedInstance().currentEvent(event); }};
}

}  // namespace

Report measureTriggerLookup(const std::string& folder) {
  const BenchHost& host = BenchHost::install(folder);
  const auto event = typicalRecord(typicalDetails()->actionMetadata());
  const auto nanoseconds = nanosecondsOf(
      {lookup("1000 campaigns", mapOf(1000, host), event), lookup("10 campaigns", mapOf(10, host), event)});
  constexpr double nanosecondsPerMicrosecond = 1000;
  return {.rows = {{.measure = "looking up a trigger, 1000 campaigns",
                    .unit = "µs",
                    .value = nanoseconds.at(0) / nanosecondsPerMicrosecond,
                    .floor = nanoseconds.at(1) / nanosecondsPerMicrosecond,
                    .maximumValue = 1,
                    .maximumRatio = 2}},
          .notes = {"Looking up a trigger: floor: the same with 10 campaigns."}};
}

}  // namespace lumora_bench
