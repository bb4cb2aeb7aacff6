#pragma once

#include <atomic>
#include <memory>
#include <string>
#include <thread>

#include "lumora/Platform/Mutex.h"
#include "lumora/Platform/TaskQueues.h"

namespace lumora {

/// A serial queue with one thread, which starts with the first task and sleeps between tasks.
///
/// The destructor drops the tasks that have not begun and waits for the one that runs, unless it is that task
/// that destroys the queue.
class LinuxSerialQueue : public TaskQueue {
 public:
  /// `unfinishedTasks` counts the tasks that wait or run, over all queues that share it.
  LinuxSerialQueue(std::string label, std::shared_ptr<std::atomic<std::size_t>> unfinishedTasks);
  ~LinuxSerialQueue() override;
  LinuxSerialQueue(const LinuxSerialQueue&) = delete;
  LinuxSerialQueue& operator=(const LinuxSerialQueue&) = delete;

  std::string label() const override;
  void async(Task task) override;
  void sync(const Task& task) override;

 private:
  struct State;

  void startWorker();

  const std::string label_;
  /// Shared with the thread, which may be the last to let go of it.
  std::shared_ptr<State> state_;
  Mutex workerMutex_;
  std::atomic<bool> hasWorker_ = false;
  std::thread worker_ LUMORA_GUARDED_BY(workerMutex_);
};

}  // namespace lumora
