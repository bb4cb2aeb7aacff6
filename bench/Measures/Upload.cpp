// Uploading a full queue of 1000 events: to the service over TLS, and against plain SQLite without a network.
//
// The rows are put there by plain SQLite, in one transaction, before each sample.
#include <fmt/format.h>

#include <stdexcept>

#include "bench/BenchHost.h"
#include "bench/LocalService.h"
#include "bench/PlainClient.h"
#include "bench/PlainSQLite.h"
#include "bench/Roles.h"
#include "bench/Sampling.h"
#include "bench/TypicalEvent.h"
#include "lumora/Events/LMREventLogger.h"
#include "lumora/Facade/Lumora.h"

namespace lumora_bench {
namespace {

constexpr int kRows = 1000;
constexpr double kMicrosecondsPerMillisecond = 1000;

/// The rows are numbered from 1 each time.
std::string deletion() {
  std::string sql = "DELETE FROM ostrel_events WHERE _id IN (1";
  for (int id = 2; id <= kRows; ++id) sql += fmt::format(",{}", id);
  return sql + ");";
}

/// Fills the table anew; the sample before must have left it empty.
Work filling(const std::string& file) {
  return [file, text = typicalText()] {
    if (runAlone(file, "SELECT * FROM ostrel_events") != 0) throw std::runtime_error("an upload left events");
    fillEvents(file, kRows, text);
  };
}

void uploadByPlainMeans(PlainClient& client, const std::string& file, const std::string& deletion) {
  std::string body;
  for (const std::string& event : PlainSQLite(file).texts("SELECT * from ostrel_events", 1)) {
    if (!body.empty()) body += '\n';
    body += event;
  }
  client.post(std::string(kServiceURL) + "report/events/", body);
  runAlone(file, deletion);
}

Row rowOf(std::string measure, const Samples& value, const Samples& floor) {
  return {.measure = std::move(measure),
          .unit = "ms",
          .value = median(value) / kMicrosecondsPerMillisecond,
          .floor = median(floor) / kMicrosecondsPerMillisecond};
}

}  // namespace

Report measureUpload(const std::string& folder) {
  constexpr int rounds = 40;
  const LocalService service(folder + "/service");
  const BenchHost& host = BenchHost::install(folder, {service.address(), service.authorityFile()});
  host.initializeLibrary();
  runAlone(host.databaseFile(), "delete from ostrel_events");
  PlainClient client(service.address(), service.authorityFile());
  client.setHeaders({"Content-type: application/json", std::string("sec: ") + kSecret});

  lumora::Lumora& library = lumora::Lumora::sharedInstance();
  const auto upload = [&] {
    library.reportAll();
    library.serialQueue().sync([] {});
  };
  const PairedSamples samples =
      samplePairs(rounds, filling(host.databaseFile()), upload,
                  [&, sql = deletion()] { uploadByPlainMeans(client, host.databaseFile(), sql); });
  Row row = rowOf("upload of 1000 events to the local service", samples.value, samples.floor);
  row.maximumValue = 25;
  return {
      .rows = {row},
      .notes = {fmt::format("Upload to the local service: medians of {} on a kept connection; p90 {:.1f} ms; "
                            "floor: plain SQLite and plain libcurl against the same service.",
                            rounds, percentile(samples.value, 0.9) / kMicrosecondsPerMillisecond)}};
}

Report measureUploadWithoutNetwork(const std::string& folder) {
  constexpr int rounds = 100;
  BenchHost& host = BenchHost::installWithoutNetwork(folder);
  host.initializeLibrary();
  runAlone(host.databaseFile(), "delete from ostrel_events");
  const auto upload = [&](bool flushesSettings) {
    return [&host, flushesSettings] {
      host.setFlushesSettings(flushesSettings);
      lumora::LMREventLogger::sharedInstance().reportEvents(true);
    };
  };
  const auto plain = [&, sql = deletion()] {
    runAlone(host.databaseFile(), "SELECT * from ostrel_events");
    runAlone(host.databaseFile(), sql);
  };
  const auto samples =
      sampleByTurns(rounds, filling(host.databaseFile()), {upload(false), plain, upload(true)});
  const std::string what = "building and deleting an upload of 1000 rows";
  Row row = rowOf(what, samples.at(0), samples.at(1));
  row.maximumRatio = 1.5;
  return {
      .rows = {row, rowOf(what + ", settings flushed", samples.at(2), samples.at(1))},
      .notes = {fmt::format(
          "Building and deleting an upload: medians of {}; floor: plain SQLite reading and deleting the same "
          "rows. Every upload notes its time in the settings, whose flush to the disk only the second line "
          "has.",
          rounds)}};
}

}  // namespace lumora_bench
