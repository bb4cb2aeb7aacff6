// What a host's process carries that is linked with the shared library: private memory, libraries, wake-ups
// while nothing happens, and the files that it ships. The floor is a program with the same life, made of
// plain SQLite and plain libcurl (`Hosts/`).
//
// Private memory is Private_Dirty of /proc/self/smaps_rollup: heap, stacks, and the pages that relocation has
// written to. The pages of programs and libraries that processes share are not in it.
#include <fmt/format.h>

#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <vector>

#include "bench/BenchHost.h"
#include "bench/Child.h"
#include "bench/LocalService.h"
#include "bench/Roles.h"
#include "bench/Sampling.h"
#include "bench/TypicalEvent.h"

namespace lumora_bench {

using nlohmann::json;

namespace {

constexpr int kRounds = 7;
constexpr int kIdleSeconds = 6;
constexpr double kBytesPerKilobyte = 1000;

/// The build of the shared library and of the hosts that belong to it; bench/run names it.
std::string sharedBuild() {
  const char* const folder = std::getenv("LUMORA_BENCH_SHARED");
  if (!folder) throw std::runtime_error("LUMORA_BENCH_SHARED names no build of the shared library");
  return folder;
}

json lifeOf(const std::string& program, json arguments, const std::string& folder) {
  std::filesystem::create_directories(folder);
  arguments["folder"] = folder;
  json result = Child("host", arguments, sharedBuild() + "/bench/" + program).result();
  std::filesystem::remove_all(folder);
  return result;
}

/// What the lives of a host have told.
struct Lives {
  std::vector<json> all;

  double median(const char* name) const {
    Samples samples;
    for (const json& life : all) samples.push_back(life.at(name));
    return lumora_bench::median(samples);
  }
};

void addMemory(Report& report, const Lives& library, const Lives& plain) {
  for (const auto& [name, moment] : {std::pair("started", "started"),
                                     {"requested", "after its first requests"},
                                     {"recorded", "after 10000 events"}}) {
    report.rows.push_back({.measure = fmt::format("private memory of a host, {}", moment),
                           .unit = "KB",
                           .value = library.median(name),
                           .floor = plain.median(name),
                           .maximumRatio = 1.04});
  }
}

}  // namespace

Report measureHostProcess(const std::string& folder) {
  BenchHost::install(folder);
  const LocalService service(folder + "/service");
  const json arguments{{"address", service.address()},
                       {"authority", service.authorityFile()},
                       {"text", typicalText()},
                       {"idleSeconds", 0}};
  Lives library;
  Lives plain;
  for (int i = 0; i < kRounds; ++i) {
    library.all.push_back(lifeOf("lumora-bench-host", arguments, folder + "/host"));
    plain.all.push_back(lifeOf("lumora-bench-plain-host", arguments, folder + "/host"));
  }
  json idleArguments = arguments;
  idleArguments["idleSeconds"] = kIdleSeconds;
  const json idle = lifeOf("lumora-bench-host", idleArguments, folder + "/host");

  Report report;
  addMemory(report, library, plain);
  report.rows.push_back({.measure = "shared libraries at the start of a host",
                         .unit = "files",
                         .value = library.median("libraries"),
                         .floor = plain.median("libraries"),
                         .maximumValue = 35});
  report.rows.push_back({.measure = "idle wake-ups a minute",
                         .unit = "wake-ups",
                         .value = idle.at("wakeUps").get<double>() * 60 / kIdleSeconds,
                         .maximumValue = 0});
  report.notes.push_back(fmt::format(
      "A host's process: medians of {} lives; floor: one thread, SQLite kept open, a kept connection of "
      "libcurl, "
      "with the same requests, events and uploads. Wake-ups: all threads but the one that counts, over {} s.",
      kRounds, kIdleSeconds));
  return report;
}

Report measureLibrarySize(const std::string&) {
  double library = 0;
  double shipped = 0;
  std::string files;
  for (const auto& file : std::filesystem::directory_iterator(sharedBuild() + "/stripped")) {
    const double size = static_cast<double>(file.file_size()) / kBytesPerKilobyte;
    const std::string name = file.path().filename().string();
    shipped += size;
    library += name == "liblumora.so" ? size : 0;
    files += fmt::format("{}{} {:.0f} KB", files.empty() ? "" : ", ", name, size);
  }
  return {.rows = {{.measure = "stripped shared library, with the C interface",
                    .unit = "KB",
                    .value = library,
                    .maximumValue = 520},
                   {.measure = "stripped shared library, its modules included",
                    .unit = "KB",
                    .value = shipped,
                    .maximumValue = 520}},
          .notes = {"Shared library: " + files + "."}};
}

}  // namespace lumora_bench
