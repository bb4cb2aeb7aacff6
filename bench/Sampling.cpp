#include "bench/Sampling.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <map>
#include <utility>

namespace lumora_bench {
namespace {

/// Keeps the medians that Google Benchmark computes, and prints nothing.
class MedianCollector : public benchmark::BenchmarkReporter {
 public:
  bool ReportContext(const Context&) override { return true; }
  void ReportRuns(const std::vector<Run>& runs) override {
    for (const Run& run : runs) {
      if (run.aggregate_name == "median") medians_[run.run_name.function_name] = run.GetAdjustedRealTime();
    }
  }
  double median(const std::string& name) const { return medians_.at(name); }

 private:
  std::map<std::string, double> medians_;
};

}  // namespace

double percentile(Samples samples, double share) {
  const auto index = static_cast<std::ptrdiff_t>(std::floor(share * static_cast<double>(samples.size() - 1)));
  std::ranges::nth_element(samples, samples.begin() + index);
  return samples.at(static_cast<std::size_t>(index));
}

double median(const Samples& samples) {
  return percentile(samples, 0.5);
}

void takeTurns(int rounds, std::size_t works,
               const std::function<void(std::size_t index, bool isKept)>& sample) {
  for (int round = 0; round <= rounds; ++round) {
    // Whoever comes second may find the disk's caches warmer, so the order changes.
    for (std::size_t i = 0; i < works; ++i) sample(round % 2 == 0 ? i : works - 1 - i, round > 0);
  }
}

std::vector<Samples> sampleByTurns(int rounds, const Work& prepare, const std::vector<Work>& works) {
  std::vector<Samples> samples(works.size());
  takeTurns(rounds, works.size(), [&](std::size_t index, bool isKept) {
    prepare();
    const double time = microsecondsOf(works.at(index));
    if (isKept) samples.at(index).push_back(time);
  });
  return samples;
}

PairedSamples samplePairs(int rounds, const Work& prepare, const Work& value, const Work& floor) {
  auto samples = sampleByTurns(rounds, prepare, {value, floor});
  return {std::move(samples.at(0)), std::move(samples.at(1))};
}

std::vector<double> nanosecondsOf(const std::vector<ShortWork>& works) {
  constexpr int repetitions = 15;
  constexpr double secondsEach = 0.1;
  std::string program = "lumora-bench";
  std::string shuffle = "--benchmark_enable_random_interleaving=true";
  std::array<char*, 3> arguments{program.data(), shuffle.data(), nullptr};
  int count = 2;
  benchmark::Initialize(&count, arguments.data());
  for (const ShortWork& work : works) {
    const auto body = [work](benchmark::State& state) {
      work.prepare();
      for ([[maybe_unused]] auto _ : state) work.run();
    };
    benchmark::RegisterBenchmark(work.name.c_str(), body)
        ->Repetitions(repetitions)
        ->MinTime(secondsEach)
        ->ReportAggregatesOnly();
  }
  MedianCollector collector;
  benchmark::RunSpecifiedBenchmarks(&collector);
  std::vector<double> medians;
  for (const ShortWork& work : works) medians.push_back(collector.median(work.name));
  return medians;
}

}  // namespace lumora_bench
