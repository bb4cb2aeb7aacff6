#pragma once

#include <chrono>
#include <vector>

namespace lumora_bench {

/// A transaction that has ended, its rows on the disk.
struct Commit {
  std::chrono::steady_clock::time_point end;
  int rows = 0;
};

/// Notes every commit of the connections that SQLite opens in this process from now on.
void watchCommits();
/// Those since the last call that have changed rows, in order. Nothing may be under way.
std::vector<Commit> takeCommits();

}  // namespace lumora_bench
