// The calls are counted where they leave the program: these definitions come ahead of the C library's, also
// for the SQLite that is loaded beside it.
#include "bench/Cost.h"

#include <sqlite3.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <time.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <mutex>

namespace {

std::atomic<int> syncs = 0;
std::atomic<int> folderSyncs = 0;
std::atomic<long> bytes = 0;
std::atomic<int> opens = 0;

void countSync(int file) {
  struct stat status {};
  if (::fstat(file, &status) == 0 && S_ISDIR(status.st_mode)) {
    ++folderSyncs;
  } else {
    ++syncs;
  }
}

int countOpen(sqlite3*, char**, const void*) {
  ++opens;
  return SQLITE_OK;
}

double processorTime() {
  timespec time{};
  ::clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
  return static_cast<double>(time.tv_sec) * 1e6 + static_cast<double>(time.tv_nsec) / 1e3;
}

}  // namespace

extern "C" int fsync(int file) {
  countSync(file);
  return static_cast<int>(::syscall(SYS_fsync, file));
}

extern "C" int fdatasync(int file) {
  countSync(file);
  return static_cast<int>(::syscall(SYS_fdatasync, file));
}

extern "C" ssize_t pwrite64(int file, const void* buffer, size_t count, off64_t offset) {
  bytes += static_cast<long>(count);
  return ::syscall(SYS_pwrite64, file, buffer, count, offset);
}

namespace lumora_bench {
namespace {

Cost costSoFar() {
  const auto now = std::chrono::steady_clock::now().time_since_epoch();
  return {.microseconds = std::chrono::duration<double, std::micro>(now).count(),
          .processor = processorTime(),
          .syncs = static_cast<double>(syncs),
          .folderSyncs = static_cast<double>(folderSyncs),
          .bytes = static_cast<double>(bytes),
          .opens = static_cast<double>(opens)};
}

Cost operator+(const Cost& one, const Cost& other) {
  return {one.microseconds + other.microseconds, one.processor + other.processor, one.syncs + other.syncs,
          one.folderSyncs + other.folderSyncs,   one.bytes + other.bytes,         one.opens + other.opens};
}

Cost summary(const std::vector<Cost>& costs) {
  Cost sum;
  Samples times;
  for (const Cost& cost : costs) {
    sum = sum + cost;
    times.push_back(cost.microseconds);
  }
  Cost result = sum / static_cast<double>(costs.size());
  result.microseconds = median(times);
  return result;
}

}  // namespace

Cost operator-(const Cost& after, const Cost& before) {
  return {after.microseconds - before.microseconds,
          after.processor - before.processor,
          after.syncs - before.syncs,
          after.folderSyncs - before.folderSyncs,
          after.bytes - before.bytes,
          after.opens - before.opens};
}

Cost operator/(const Cost& cost, double count) {
  return {cost.microseconds / count, cost.processor / count, cost.syncs / count,
          cost.folderSyncs / count,  cost.bytes / count,     cost.opens / count};
}

std::vector<Cost> costsByTurns(int rounds, const Work& prepare, const std::vector<Work>& works) {
  static std::once_flag isCounting;
  std::call_once(isCounting, [] { sqlite3_auto_extension(reinterpret_cast<void (*)()>(countOpen)); });
  std::vector<std::vector<Cost>> costs(works.size());
  takeTurns(rounds, works.size(), [&](std::size_t index, bool isKept) {
    prepare();
    const Cost before = costSoFar();
    works.at(index)();
    const Cost cost = costSoFar() - before;
    if (isKept) costs.at(index).push_back(cost);
  });
  std::vector<Cost> summaries;
  for (const auto& ofWork : costs) summaries.push_back(summary(ofWork));
  return summaries;
}

}  // namespace lumora_bench
