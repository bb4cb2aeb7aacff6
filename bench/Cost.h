#pragma once

#include <vector>

#include "bench/Sampling.h"

namespace lumora_bench {

/// What a piece of work takes from the machine, over all threads of this process.
struct Cost {
  double microseconds = 0;
  /// Processor time, in microseconds.
  double processor = 0;
  /// Calls of fsync and fdatasync.
  double syncs = 0;
  double folderSyncs = 0;
  /// Bytes handed to pwrite: what SQLite writes to its database, journal and log. The index of a log is
  /// memory that processes share, and is not in it.
  double bytes = 0;
  /// Connections that SQLite opened.
  double opens = 0;

  double allSyncs() const { return syncs + folderSyncs; }
};

Cost operator-(const Cost& after, const Cost& before);
Cost operator/(const Cost& cost, double count);

/// What each work costs, taken by turns: the median of the time, which the disk scatters, and the mean of
/// everything else.
std::vector<Cost> costsByTurns(int rounds, const Work& prepare, const std::vector<Work>& works);

}  // namespace lumora_bench
