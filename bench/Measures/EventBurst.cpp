// Events of calls that follow each other closely, from the host's calls until they are on the disk: what they
// take of time, processor and disk, and how long each waits.
//
// No upload is due meanwhile, as one is at most every five seconds.
#include <fmt/format.h>

#include <chrono>
#include <stdexcept>

#include "bench/BenchHost.h"
#include "bench/Commits.h"
#include "bench/Cost.h"
#include "bench/PlainStore.h"
#include "bench/Roles.h"
#include "bench/Sampling.h"
#include "bench/TypicalEvent.h"
#include "lumora/Facade/Lumora.h"

namespace lumora_bench {
namespace {

using TimePoint = std::chrono::steady_clock::time_point;

constexpr double kMicrosecondsPerMillisecond = 1000;
constexpr int kLongBurst = 900;
constexpr int kShortBurst = 50;

/// The library and its floor, each with an empty table.
class Contest {
 public:
  explicit Contest(const std::string& folder)
      : host_(BenchHost::installWithoutNetwork(folder)), plain_(folder + "/plain.sqlite") {
    host_.initializeLibrary();
    host_.putUploadsOff();
  }

  void clear() {
    runAlone(host_.databaseFile(), "delete from ostrel_events");
    plain_.clear();
  }
  void callLibrary() { lumora::Lumora::sharedInstance().reportAction(kActionName, typicalDetails()); }
  void settleLibrary() { host_.settle(); }
  void callPlain() { plain_.store(text_); }
  void settlePlain() { plain_.settle(); }

  Work libraryBurst(int calls) {
    return [this, calls] {
      for (int i = 0; i < calls; ++i) callLibrary();
      settleLibrary();
    };
  }
  Work plainBurst(int calls) {
    return [this, calls] {
      for (int i = 0; i < calls; ++i) callPlain();
      settlePlain();
    };
  }
  int storedByLibrary() const { return runAlone(host_.databaseFile(), "SELECT _id FROM ostrel_events"); }

 private:
  BenchHost& host_;
  PlainStore plain_;
  const std::string text_ = typicalText();
};

/// Gives the costs of a burst, the library's first.
std::vector<Cost> costsOfBurst(Contest& contest, int rounds, int calls) {
  const auto costs = costsByTurns(rounds, [&] { contest.clear(); },
                                  {contest.plainBurst(calls), contest.libraryBurst(calls)});
  contest.clear();
  contest.libraryBurst(calls)();
  if (contest.storedByLibrary() != calls) throw std::runtime_error("a burst was not stored");
  return {costs.at(1), costs.at(0)};
}

/// Adds the milliseconds from each call to the end of the commit that has its row.
template <typename Call, typename Settle>
void sampleWaits(Samples& waits, const Call& call, const Settle& settle) {
  takeCommits();
  std::vector<TimePoint> calls;
  for (int i = 0; i < kShortBurst; ++i) {
    calls.push_back(std::chrono::steady_clock::now());
    call();
  }
  settle();
  auto next = calls.begin();
  for (const Commit& commit : takeCommits()) {
    for (int row = 0; row < commit.rows && next != calls.end(); ++row, ++next)
      waits.push_back(std::chrono::duration<double, std::milli>(commit.end - *next).count());
  }
  if (next != calls.end()) throw std::runtime_error("an event was not stored");
}

PairedSamples sampleWaits(Contest& contest, int rounds) {
  PairedSamples waits;
  for (int i = 0; i < rounds; ++i) {
    contest.clear();
    sampleWaits(
        waits.value, [&] { contest.callLibrary(); }, [&] { contest.settleLibrary(); });
    sampleWaits(
        waits.floor, [&] { contest.callPlain(); }, [&] { contest.settlePlain(); });
  }
  return waits;
}

}  // namespace

Report measureEventBurst(const std::string& folder) {
  constexpr int longRounds = 25;
  constexpr int shortRounds = 300;
  Contest contest(folder);
  const auto all = costsOfBurst(contest, longRounds, kLongBurst);
  const auto burst = costsOfBurst(contest, shortRounds, kShortBurst);
  const Cost library = burst.at(0) / kShortBurst;
  const Cost plain = burst.at(1) / kShortBurst;
  return {
      .rows = {{.measure = "900 events of one burst, until all are on the disk",
                .unit = "ms",
                .value = all.at(0).microseconds / kMicrosecondsPerMillisecond,
                .floor = all.at(1).microseconds / kMicrosecondsPerMillisecond,
                .maximumValue = 30,
                .maximumRatio = 8},
               {.measure = "processor time per event, bursts of 50",
                .unit = "µs",
                .value = library.processor,
                .floor = plain.processor,
                .maximumValue = 50},
               {.measure = "written per event, bursts of 50",
                .unit = "bytes",
                .value = library.bytes,
                .floor = plain.bytes,
                .maximumValue = 1500},
               {.measure = "syncs per event, bursts of 50",
                .unit = "syncs",
                .value = library.allSyncs(),
                .floor = plain.allSyncs(),
                .maximumValue = 0.1}},
      .notes = {fmt::format(
          "Bursts: {} of 900 (median), {} of 50 (means); 900 events take {:.0f} syncs, {:.0f} opens and "
          "{:.1f} ms of processor time, the floor {:.0f} syncs and {:.1f} ms. Floor: a queue with a thread, "
          "SQLite kept open with a write-ahead log, synchronous=FULL, 50 events a commit.",
          longRounds, shortRounds, all.at(0).allSyncs(), all.at(0).opens,
          all.at(0).processor / kMicrosecondsPerMillisecond, all.at(1).allSyncs(),
          all.at(1).processor / kMicrosecondsPerMillisecond)}};
}

Report measureEventWait(const std::string& folder) {
  constexpr int rounds = 300;
  watchCommits();
  Contest contest(folder);
  contest.clear();
  const auto [value, floor] = sampleWaits(contest, rounds);
  Report report;
  for (const auto& [share, name, limit] :
       {std::tuple(0.5, "p50", std::optional<double>()), {0.99, "p99", std::optional(10.0)}}) {
    report.rows.push_back({.measure = fmt::format("from the call to the disk, burst of 50, {}", name),
                           .unit = "ms",
                           .value = percentile(value, share),
                           .floor = percentile(floor, share),
                           .maximumValue = limit});
  }
  report.notes.push_back(fmt::format(
      "From the call to the disk: {} bursts, the end of each event's commit; floor as for bursts.", rounds));
  return report;
}

}  // namespace lumora_bench
