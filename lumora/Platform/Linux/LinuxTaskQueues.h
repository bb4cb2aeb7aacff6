#pragma once

#include <chrono>
#include <memory>
#include <string>

#include "lumora/Platform/TaskQueues.h"

namespace lumora {

class TaskCounter;

/// The main queue on Linux. It runs where the host says: `run()` on a thread that does nothing else, or
/// `runPending()` from the host's own loop whenever `descriptor()` is readable (poll, GLib, Qt). Once the
/// process is ending, and in a forked child, it runs no task any more.
class LUMORA_EXPORT LinuxMainQueue : public TaskQueue {
 public:
  /// The calling thread becomes the main thread.
  LinuxMainQueue();
  ~LinuxMainQueue() override;
  LinuxMainQueue(const LinuxMainQueue&) = delete;
  LinuxMainQueue& operator=(const LinuxMainQueue&) = delete;

  std::string label() const override;
  void async(Task task) override;
  void sync(const Task& task) override;

  /// Runs tasks until `stop()` is called. Main thread only.
  void run();
  /// Lets `run()` return once the task it is in has ended. Called while `run()` is not running, it lets the
  /// next `run()` return once the tasks that wait then have run. Any thread.
  void stop();
  /// Runs the tasks that wait now, and returns how many they were. Main thread only; never blocks.
  std::size_t runPending();
  /// A file descriptor that is readable while tasks wait. It belongs to the queue; the host only polls it.
  int descriptor() const noexcept;
  bool isMainThread() const noexcept;
  /// Whether no task waits or runs.
  bool isIdle() const;

 private:
  struct State;
  std::unique_ptr<State> state_;
};

/// Serial queues with a thread each, started by their first task.
class LUMORA_EXPORT LinuxTaskQueues : public TaskQueues {
 public:
  explicit LinuxTaskQueues(LinuxMainQueue& mainQueue);
  ~LinuxTaskQueues() override;
  std::unique_ptr<TaskQueue> makeSerialQueue(std::string label) override;
  TaskQueue& mainQueue() override;
  bool isMainThread() override;
  std::unique_ptr<TaskQueue> makeHostQueue(std::string label) override;
  void reportUnfinished(const std::function<void(std::size_t tasks)>& report) override;
  /// Whether no task waits or runs on any serial queue made here, but those for the host's code.
  bool areSerialQueuesIdle() const;
  /// For how long that has been so; zero while a task waits or runs.
  std::chrono::steady_clock::duration quietTime() const;

 private:
  LinuxMainQueue& mainQueue_;
  const std::shared_ptr<TaskCounter> unfinishedTasks_;
};

}  // namespace lumora
