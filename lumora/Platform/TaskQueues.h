#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <utility>

#include "lumora/Platform/Export.h"

namespace lumora {

using Task = std::function<void()>;

/// Runs tasks one at a time, in the order in which they were handed over. An empty task is ignored.
///
/// Thread safety: every operation may be called from any thread, from a running task too.
class LUMORA_EXPORT TaskQueue {
 public:
  virtual ~TaskQueue() = default;
  virtual std::string label() const = 0;
  /// Hands a task over and returns at once. A task that throws is dropped; the queue goes on.
  virtual void async(Task task) = 0;
  /// Hands a task over and waits until it has run. Must not be called from a task of the same queue.
  virtual void sync(const Task& task) = 0;
  /// Hands a task over and waits until it has run, but no longer than that; whether it has. One that has not
  /// still runs later. Must not be called from a task of the same queue.
  virtual bool syncWithin(Task task, std::chrono::milliseconds limit);
  /// The queue's end: takes no further task, waits until those before have run, but no longer than that, and
  /// lets its thread end; whether all that has happened. What could not be waited for still runs later, and
  /// the thread ends then. A queue that does not know of an end only waits.
  virtual bool finishWithin(std::chrono::milliseconds limit);
};

/// Makes queues. The main queue runs on the thread that the host chose for it.
class LUMORA_EXPORT TaskQueues {
 public:
  virtual ~TaskQueues() = default;
  /// A new serial queue with a thread of its own while it has work. Tasks that have not begun when the queue
  /// is destroyed are dropped.
  virtual std::unique_ptr<TaskQueue> makeSerialQueue(std::string label) = 0;
  virtual TaskQueue& mainQueue() = 0;
  virtual bool isMainThread() = 0;
  /// A serial queue for tasks that call the host's code. When the process ends none of them begins any more,
  /// and none counts as one that has not run. Queues that do not know of the end make it as any other.
  virtual std::unique_ptr<TaskQueue> makeHostQueue(std::string label) {
    return makeSerialQueue(std::move(label));
  }
  /// Names who is told, when the process ends, how many tasks have not run, none among them: the last chance
  /// to save something. Other threads may still run then and hold their locks. Queues that do not know of the
  /// end ignore it.
  virtual void reportUnfinished(const std::function<void(std::size_t tasks)>& /*report*/) {}
};

/// Passes everything to other queues; a base for a host that replaces the main queue only.
class LUMORA_EXPORT ForwardingTaskQueues : public TaskQueues {
 public:
  explicit ForwardingTaskQueues(TaskQueues& next) : next_(next) {}
  std::unique_ptr<TaskQueue> makeSerialQueue(std::string label) override {
    return next_.makeSerialQueue(std::move(label));
  }
  TaskQueue& mainQueue() override { return next_.mainQueue(); }
  bool isMainThread() override { return next_.isMainThread(); }
  std::unique_ptr<TaskQueue> makeHostQueue(std::string label) override {
    return next_.makeHostQueue(std::move(label));
  }
  void reportUnfinished(const std::function<void(std::size_t tasks)>& report) override {
    next_.reportUnfinished(report);
  }

 private:
  TaskQueues& next_;
};

}  // namespace lumora
