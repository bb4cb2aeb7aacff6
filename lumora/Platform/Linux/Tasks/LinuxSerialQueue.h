#pragma once

#include <atomic>
#include <chrono>
#include <memory>
#include <string>
#include <thread>

#include "lumora/Platform/Mutex.h"
#include "lumora/Platform/TaskQueues.h"

namespace lumora {

/// Counts the tasks that wait or run, over all queues that share it. Any thread.
class TaskCounter {
 public:
  void add() noexcept;
  void finish(std::size_t count = 1) noexcept;
  bool isZero() const noexcept { return count_ == 0; }
  /// How long ago the last of them finished; zero while there are any.
  std::chrono::steady_clock::duration quietTime() const noexcept;

 private:
  using SteadyClock = std::chrono::steady_clock;

  std::atomic<std::size_t> count_ = 0;
  std::atomic<SteadyClock::rep> quietSince_ = SteadyClock::now().time_since_epoch().count();
};

/// A serial queue with one thread, which starts with the first task and sleeps between tasks.
///
/// The destructor drops the tasks that have not begun and waits for the one that runs, unless it is that task
/// that destroys the queue. When the process has ended its wait for the tasks, no further one begins. A
/// forked child, which does not have the thread, neither hands tasks over nor waits.
class LinuxSerialQueue : public TaskQueue {
 public:
  /// Without a counter the end of the process neither waits for the tasks nor reports them, and once it has
  /// begun no other is taken.
  LinuxSerialQueue(std::string label, std::shared_ptr<TaskCounter> unfinishedTasks);
  ~LinuxSerialQueue() override;
  LinuxSerialQueue(const LinuxSerialQueue&) = delete;
  LinuxSerialQueue& operator=(const LinuxSerialQueue&) = delete;

  std::string label() const override;
  void async(Task task) override;
  void sync(const Task& task) override;
  bool finishWithin(std::chrono::milliseconds limit) override;

 private:
  struct State;

  void startWorker();
  bool mayStillRun() const noexcept;

  const std::string label_;
  /// Shared with the thread, which may be the last to let go of it.
  std::shared_ptr<State> state_;
  Mutex workerMutex_;
  std::atomic<bool> hasWorker_ = false;
  std::thread worker_ LUMORA_GUARDED_BY(workerMutex_);
};

}  // namespace lumora
