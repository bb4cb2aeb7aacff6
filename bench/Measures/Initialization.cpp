// The first use of the library: what the host's thread waits for at its launch, from the first
// `sharedInstance` to the return of `initialize…`, against opening a database and creating the two tables by
// plain SQLite.
//
// Each sample is a process of its own. The host has its platform by then, in both.
#include <fmt/format.h>

#include <filesystem>

#include "bench/BenchHost.h"
#include "bench/Child.h"
#include "bench/LocalService.h"
#include "bench/PlainSQLite.h"
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

PairedSamples samplesOf(const std::string& folder, bool hasDatabase) {
  PairedSamples samples;
  for (int i = 0; i < kSamples; ++i) {
    samples.value.push_back(sampleOf("initialize-library", folder + "/host", hasDatabase));
    samples.floor.push_back(sampleOf("create-plain-tables", folder + "/host", hasDatabase));
  }
  return samples;
}

Row rowOf(const std::string& what, const PairedSamples& samples) {
  return {.measure = "first use until initialize… returns, " + what,
          .unit = "µs",
          .value = median(samples.value),
          .floor = median(samples.floor)};
}

}  // namespace

json initializeLibrary(const json& arguments) {
  BenchHost::install(arguments.at("folder"));
  return microsecondsOf([] { lumora::Lumora::sharedInstance().initializeWithTarrowID(kAccount, kSecret); });
}

json createPlainTables(const json& arguments) {
  const BenchHost& host = BenchHost::install(arguments.at("folder"));
  return microsecondsOf([&] { createTables(host.databaseFile()); });
}

Report measureInitialization(const std::string& folder) {
  Row fresh = rowOf("new database", samplesOf(folder, false));
  fresh.maximumRatio = 1.3;
  return {
      .rows = {fresh, rowOf("existing database", samplesOf(folder, true))},
      .notes = {fmt::format("First use: medians of {} fresh processes; floor: plain SQLite opening the file "
                            "and creating the two tables, each with an open and a close of its own.",
                            kSamples)}};
}

}  // namespace lumora_bench
