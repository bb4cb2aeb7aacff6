// Building one event record and its JSON text. The floor formats the same text without a record.
#include <benchmark/benchmark.h>
#include <fmt/format.h>

#include <chrono>

#include "bench/BenchHost.h"
#include "bench/Roles.h"
#include "bench/Sampling.h"
#include "bench/TypicalEvent.h"
#include "lumora/Platform/JSON.h"

namespace lumora_bench {
namespace {

std::string formattedText() {
  const auto now = std::chrono::system_clock::now().time_since_epoch();
  return fmt::format(
      R"({{"event_type":"checkpoint","metadata":{{"Action Details":"{}","Action Metric":{},"Action Type":"{}",)"
      R"("item":"{}"}},"name":"{}","timestamp":{},"type":"custom"}})",
      R"(It's the \"summer\" coupon – 20 %)", 12.5, "purchase", "boots", kActionName,
      std::chrono::floor<std::chrono::seconds>(now).count());
}

}  // namespace

Report measureEventRecord(const std::string& folder) {
  BenchHost::install(folder);
  const auto details = typicalDetails();
  const auto build = [&] {
    benchmark::DoNotOptimize(lumora::writeJSON(typicalRecord(details->actionMetadata())));
  };
  const auto format = [] { benchmark::DoNotOptimize(formattedText()); };
  const auto nanoseconds = nanosecondsOf({{"build", [] {}, build}, {"format", [] {}, format}});
  constexpr double nanosecondsPerMicrosecond = 1000;
  return {.rows = {{.measure = "building one record and its text",
                    .unit = "µs",
                    .value = nanoseconds.at(0) / nanosecondsPerMicrosecond,
                    .floor = nanoseconds.at(1) / nanosecondsPerMicrosecond,
                    .maximumValue = 5}},
          .notes = {
              "Building one record: an action with four details; floor: the same text by one call of fmt."}};
}

}  // namespace lumora_bench
