// The resident memory that the library adds: by its initialisation against the local service over TLS, until
// its queues have come to rest, and by 10000 further events.
//
// Resident memory is what /proc/self/statm tells: heap, stacks, and the pages of program and shared libraries
// that have been touched, those of libcurl, OpenSSL and SQLite among them. The floor of the first is a
// process that uses these libraries for the first time without Lumora: one request to the same service, one
// database with the two tables.
#include <fmt/format.h>
#include <unistd.h>

#include <fstream>

#include "bench/BenchHost.h"
#include "bench/Child.h"
#include "bench/LocalService.h"
#include "bench/PlainClient.h"
#include "bench/PlainSQLite.h"
#include "bench/Roles.h"
#include "bench/TypicalEvent.h"
#include "lumora/Facade/Lumora.h"
#include "lumora/Facade/LumoraActionMetaData.h"

namespace lumora_bench {

using nlohmann::json;

namespace {

constexpr int kEvents = 10'000;
constexpr int kEventsInBurst = 50;
constexpr double kKilobytesPerMegabyte = 1000;

/// Kilobytes; `files` is the part that maps programs and libraries.
struct Resident {
  double all = 0;
  double files = 0;
};

Resident residentMemory() {
  std::ifstream statm("/proc/self/statm");
  double size = 0;
  Resident pages;
  statm >> size >> pages.all >> pages.files;
  const double kilobytesPerPage = static_cast<double>(::sysconf(_SC_PAGESIZE)) / 1000;
  return {pages.all * kilobytesPerPage, pages.files * kilobytesPerPage};
}

Resident operator-(const Resident& after, const Resident& before) {
  return {after.all - before.all, after.files - before.files};
}

void recordEvents(const BenchHost& host) {
  lumora::Lumora& library = lumora::Lumora::sharedInstance();
  for (int i = 0; i < kEvents; ++i) {
    library.reportAction(kActionName, typicalDetails());
    if ((i + 1) % kEventsInBurst == 0) host.settle();
  }
  library.reportAll();
  host.settle();
}

Row rowOf(std::string measure, const Resident& added, double mostMegabytes) {
  return {.measure = std::move(measure),
          .unit = "MB",
          .value = added.all / kKilobytesPerMegabyte,
          .maximumValue = mostMegabytes};
}

}  // namespace

json usePlainLibraries(const json& arguments) {
  // The same process up to here as the library's.
  const BenchHost& host = BenchHost::install(arguments.at("folder"));
  const Resident before = residentMemory();
  PlainClient client(arguments.at("address"), arguments.at("authority"));
  client.get(std::string(kServiceURL) + "api/v1/sync/" + kSecret + "?lst=0");
  const Resident afterRequest = residentMemory();
  createTables(host.databaseFile());
  return {{"request", (afterRequest - before).all}, {"database", (residentMemory() - afterRequest).all}};
}

Report measureMemory(const std::string& folder) {
  const LocalService service(folder + "/service");
  const json plain = runInChild("use-plain-libraries", {{"folder", folder + "/plain"},
                                                        {"address", service.address()},
                                                        {"authority", service.authorityFile()}});
  const double request = plain.at("request");
  const double database = plain.at("database");
  const BenchHost& host = BenchHost::install(folder, {service.address(), service.authorityFile()});
  const Resident before = residentMemory();
  host.initializeLibrary();
  const Resident initialized = residentMemory();
  recordEvents(host);
  const Resident byInit = initialized - before;
  const Resident byEvents = residentMemory() - initialized;

  Row init = rowOf("resident memory added by initialisation", byInit, 3);
  init.floor = (request + database) / kKilobytesPerMegabyte;
  return {
      .rows = {init, rowOf("resident memory added by 10000 events", byEvents, 1)},
      .notes = {fmt::format(
          "Memory: initialisation adds {:.0f} KB, of which {:.0f} KB are touched pages of program and shared "
          "libraries. The floor is the first use of the libraries below Lumora: {:.0f} KB by one plain "
          "libcurl "
          "request over TLS, {:.0f} KB by one plain SQLite database; beyond it initialisation adds {:.0f} "
          "KB.",
          byInit.all, byInit.files, request, database, byInit.all - request - database)}};
}

}  // namespace lumora_bench
