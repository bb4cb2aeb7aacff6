#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <string>
#include <vector>

namespace lumora_bench {

using Work = std::function<void()>;
using Samples = std::vector<double>;

/// The value below which that share (0 to 1) of the samples lies. There must be samples.
double percentile(Samples samples, double share);
double median(const Samples& samples);

/// Runs the work once; microseconds.
template <typename Callable>
double microsecondsOf(Callable&& work) {
  const auto start = std::chrono::steady_clock::now();
  work();
  return std::chrono::duration<double, std::micro>(std::chrono::steady_clock::now() - start).count();
}

/// Microseconds of a work and of its floor, taken by turns, so that both meet the same machine and disk.
struct PairedSamples {
  Samples value;
  Samples floor;
};

/// Calls for each sample of that many works by turns, and in changing order. What is not kept goes ahead.
void takeTurns(int rounds, std::size_t works,
               const std::function<void(std::size_t index, bool isKept)>& sample);
/// Microseconds of each work, taken by turns. `prepare` runs, unmeasured, before every single sample. One
/// unmeasured turn of each goes ahead.
std::vector<Samples> sampleByTurns(int rounds, const Work& prepare, const std::vector<Work>& works);
PairedSamples samplePairs(int rounds, const Work& prepare, const Work& value, const Work& floor);

/// Work that is too short for the clock: it is repeated by Google Benchmark, after `prepare`.
struct ShortWork {
  std::string name;
  Work prepare;
  Work run;
};

/// The median nanoseconds of each, in the same order; repetitions of all of them are shuffled.
std::vector<double> nanosecondsOf(const std::vector<ShortWork>& works);

}  // namespace lumora_bench
