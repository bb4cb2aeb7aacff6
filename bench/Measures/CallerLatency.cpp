// What `reportAction` costs the host's thread while the library's queue is at work: events are being stored
// and, for a good part of the time, an upload waits for its answer.
//
// The host acts in bursts, as an application under a person's hands does. A new burst begins when the burst
// before the last one has been stored, so the queue is never empty and never long; during an upload they go
// on coming at intervals. The floor is the least that handing an action over can mean: a copy of its name
// goes into a guarded queue of functions.
#include <fmt/format.h>

#include <atomic>
#include <chrono>
#include <deque>
#include <functional>
#include <mutex>
#include <string>
#include <thread>

#include "bench/BenchHost.h"
#include "bench/LocalService.h"
#include "bench/Roles.h"
#include "bench/Sampling.h"
#include "bench/TypicalEvent.h"
#include "lumora/Events/LMREventLogger.h"
#include "lumora/Facade/Lumora.h"

namespace lumora_bench {
namespace {

constexpr int kCalls = 20'000;
constexpr int kCallsInBurst = 50;
constexpr std::chrono::milliseconds kUploadDelay{250};
constexpr std::chrono::milliseconds kPauseDuringUpload{50};

/// The least of a queue.
class PlainQueue {
 public:
  void push(std::function<void()> task) {
    const std::lock_guard lock(mutex_);
    tasks_.push_back(std::move(task));
  }
  void clear() {
    const std::lock_guard lock(mutex_);
    tasks_.clear();
  }

 private:
  std::mutex mutex_;
  std::deque<std::function<void()>> tasks_;
};

/// Paces the host's bursts by what the library's queue has worked off.
class Bursts {
 public:
  /// Waits for the moment of the next burst.
  void begin() {
    while (sent_ - done_ > 1 && !isDueDuringUpload())
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
    lastBegin_ = std::chrono::steady_clock::now();
  }
  void end() {
    ++sent_;
    lumora::Lumora::sharedInstance().serialQueue().async([this] { ++done_; });
  }

 private:
  bool isDueDuringUpload() const {
    return lumora::LMREventLogger::sharedInstance().isReporting() &&
           std::chrono::steady_clock::now() - lastBegin_ >= kPauseDuringUpload;
  }

  std::chrono::steady_clock::time_point lastBegin_;
  int sent_ = 0;
  std::atomic<int> done_ = 0;
};

struct Latencies {
  PairedSamples calls;
  int callsDuringUpload = 0;
};

void sampleOneCall(Latencies& latencies, PlainQueue& plain) {
  const std::string name = kActionName;
  auto details = typicalDetails();
  if (lumora::LMREventLogger::sharedInstance().isReporting()) ++latencies.callsDuringUpload;
  latencies.calls.value.push_back(
      microsecondsOf([&] { lumora::Lumora::sharedInstance().reportAction(name, std::move(details)); }));
  latencies.calls.floor.push_back(microsecondsOf([&] { plain.push([name] { static_cast<void>(name); }); }));
}

Latencies sampleCalls() {
  Latencies latencies;
  PlainQueue plain;
  static Bursts bursts;  // The queue may still count when this function has ended.
  for (int call = 0; call < kCalls; ++call) {
    if (call % kCallsInBurst == 0) bursts.begin();
    sampleOneCall(latencies, plain);
    if ((call + 1) % kCallsInBurst != 0) continue;
    bursts.end();
    plain.clear();
  }
  return latencies;
}

}  // namespace

Report measureCallerLatency(const std::string& folder) {
  const LocalService service(folder + "/service", kUploadDelay);
  const BenchHost& host = BenchHost::install(folder, {service.address(), service.authorityFile()});
  host.initializeLibrary();
  const auto [calls, duringUpload] = sampleCalls();
  host.settle();

  Report report;
  for (const auto& [share, name, limit] : {std::tuple(0.5, "p50", 2.0), {0.99, "p99", 20.0}}) {
    report.rows.push_back({.measure = fmt::format("reportAction on the caller's thread, {}", name),
                           .unit = "µs",
                           .value = percentile(calls.value, share),
                           .floor = percentile(calls.floor, share),
                           .maximumValue = limit});
  }
  report.notes.push_back(fmt::format(
      "reportAction: {} calls in bursts of {}, the queue busy throughout, {} of them during an upload; p99.9 "
      "{:.1f} µs (floor {:.1f} µs). Floor: a copy of the name into a guarded queue of functions.",
      kCalls, kCallsInBurst, duringUpload, percentile(calls.value, 0.999), percentile(calls.floor, 0.999)));
  return report;
}

}  // namespace lumora_bench
