// What an action with four details costs its caller's thread in C++ and through the C interface: making the
// details, filling them in, reporting, and letting go of them.
#include <chrono>
#include <string>
#include <vector>

#include "bench/BenchHost.h"
#include "bench/Roles.h"
#include "bench/Sampling.h"
#include "bench/TypicalDetails.h"
#include "lumora/C/lumora.h"
#include "lumora/Facade/Lumora.h"

namespace lumora_bench {
namespace {

constexpr int kRounds = 200;
/// Few enough that the library's queue takes all of them at once.
constexpr int kCallsInSample = 50;

void callInCpp() {
  lumora::Lumora::sharedInstance().reportAction(kActionName, typicalDetails());
}

void callInC() {
  const lumora_action action = lumora_action_new();
  lumora_action_set_type(action, lumora_string("purchase"));
  lumora_action_set_details(action, lumora_string("It's the \"summer\" coupon – 20 %"));
  lumora_action_set_metric(action, 12.5);
  lumora_action_set_text(action, lumora_string("item"), lumora_string("boots"));
  lumora_report_action(lumora_string(kActionName), action);
  lumora_free(action);
}

void callInCByJSON() {
  lumora_report_action_json(
      lumora_string(kActionName),
      lumora_string(R"({"Action Type":"purchase","Action Details":"It's the \"summer\" coupon – 20 %",)"
                    R"("Action Metric":12.5,"item":"boots"})"));
}

Work manyOf(void (*call)()) {
  return [call] {
    for (int i = 0; i < kCallsInSample; ++i) call();
  };
}

}  // namespace

Report measureCallCost(const std::string& folder) {
  const BenchHost& host = BenchHost::installWithoutNetwork(folder);
  host.initializeLibrary();
  host.putUploadsOff();
  const auto samples = sampleByTurns(kRounds, [&] { host.settle(); },
                                     {manyOf(callInCpp), manyOf(callInC), manyOf(callInCByJSON)});
  host.settle();
  const auto each = [&](std::size_t work) { return median(samples.at(work)) / kCallsInSample; };
  const double floor = each(0);
  return {
      .rows = {{.measure = "reportAction with four details, C++", .unit = "µs", .value = floor},
               {.measure = "the same by C and a builder, beside C++",
                .unit = "µs",
                .value = each(1),
                .floor = floor,
                .maximumRatio = 1.2},
               {.measure = "the same by C and JSON text, beside C++",
                .unit = "µs",
                .value = each(2),
                .floor = floor}},
      .notes = {"reportAction with four details: medians of bursts of 50 calls, each with the making and the "
                "end of its details; floor: the same in C++."}};
}

}  // namespace lumora_bench
