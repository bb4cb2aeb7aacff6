#pragma once

#include <cstddef>
#include <memory>
#include <string>

#include "lumora/Platform/TaskQueues.h"

namespace lumora::testing {

/// Queues that run only when the test says so, on the test's thread.
///
/// The thread that makes this object is the main thread; while it runs a serial queue's task it counts as
/// another one.
///
/// Thread safety: tasks may be handed over from any thread; `sync` and the operations that run tasks belong
/// to the test's thread.
class LUMORA_EXPORT FakeTaskQueues : public TaskQueues {
 public:
  FakeTaskQueues();
  ~FakeTaskQueues() override;
  /// The queue's `sync` runs the tasks that wait in it, then the task itself, at once, and its waits with a
  /// limit do likewise. With no time at all its end leaves them to the next run.
  std::unique_ptr<TaskQueue> makeSerialQueue(std::string label) override;
  TaskQueue& mainQueue() override;
  bool isMainThread() override;

  /// Runs tasks until no queue has any left, those included that tasks add meanwhile. The serial queues come
  /// first, in the order of their making; the main queue runs when they are empty.
  void runAll();
  /// The same for the serial queues alone, and for the main queue alone.
  void runSerialQueues();
  void runMainQueue();
  /// The number of tasks that wait, in all queues or in the main queue.
  std::size_t pendingCount() const;
  std::size_t pendingMainCount() const;
  /// What `isMainThread` answers the test's thread outside of tasks; true at first.
  void setMainThread(bool isMainThread);

 private:
  class Queue;
  struct State;

  std::shared_ptr<State> state_;
  std::unique_ptr<Queue> mainQueue_;
};

}  // namespace lumora::testing
