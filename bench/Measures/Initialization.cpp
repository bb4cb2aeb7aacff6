// The first use of the library: what the host's thread waits for at its launch, from the first
// `sharedInstance` to the return of `initialize…`. The database is opened later, on the library's queue. The
// floor is what leaving the work to another thread costs: one queue, its thread, one task.
//
// Each sample is a process of its own. The host has its platform by then, in both.
#include <fmt/format.h>

#include <filesystem>

#include "bench/BenchHost.h"
#include "bench/Child.h"
#include "bench/LocalService.h"
#include "bench/PlainSQLite.h"
#include "bench/PlainWorker.h"
#include "bench/Roles.h"
#include "bench/Sampling.h"
#include "lumora/Facade/Lumora.h"

namespace lumora_bench {

using nlohmann::json;

namespace {

constexpr int kSamples = 60;

/// Plays the role in a new folder, which may hold a database already, and gives the microseconds it took.
double sampleOf(const std::string& role, const std::string& folder, bool hasDatabase) {
  if (hasDatabase) createTables(preparedDatabaseFile(folder));
  const double microseconds = runInChild(role, {{"folder", folder}}).get<double>();
  std::filesystem::remove_all(folder);
  return microseconds;
}

Row rowOf(const std::string& what, const std::string& folder, bool hasDatabase) {
  PairedSamples samples;
  for (int i = 0; i < kSamples; ++i) {
    samples.value.push_back(sampleOf("initialize-library", folder + "/host", hasDatabase));
    samples.floor.push_back(sampleOf("start-plain-worker", folder + "/host", hasDatabase));
  }
  return {.measure = "first use until initialize… returns, " + what,
          .unit = "µs",
          .value = median(samples.value),
          .floor = median(samples.floor),
          .maximumValue = 500};
}

}  // namespace

json initializeLibrary(const json& arguments) {
  BenchHost::install(arguments.at("folder"));
  return microsecondsOf([] { lumora::Lumora::sharedInstance().initializeWithTarrowID(kAccount, kSecret); });
}

json startPlainWorker(const json& arguments) {
  BenchHost::install(arguments.at("folder"));
  return microsecondsOf([] {
    static auto* const worker = new PlainWorker;
    worker->async([] {});
  });
}

Report measureInitialization(const std::string& folder) {
  return {.rows = {rowOf("new database", folder, false), rowOf("existing database", folder, true)},
          .notes = {fmt::format(
              "First use: medians of {} fresh processes; floor: a queue, the start of its thread, one task.",
              kSamples)}};
}

}  // namespace lumora_bench
