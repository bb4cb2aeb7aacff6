#pragma once

#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>

namespace lumora_bench {

/// One queue with one thread: the least that leaves the caller free. Ends with what it was given.
class PlainWorker {
 public:
  PlainWorker();
  ~PlainWorker();
  PlainWorker(const PlainWorker&) = delete;
  PlainWorker& operator=(const PlainWorker&) = delete;

  void async(std::function<void()> task);
  /// Waits until the task, and every one before it, has run.
  void sync(std::function<void()> task);

 private:
  void work();

  std::mutex mutex_;
  std::condition_variable wake_;
  std::deque<std::function<void()>> tasks_;
  bool isEnding_ = false;
  std::thread thread_;
};

}  // namespace lumora_bench
