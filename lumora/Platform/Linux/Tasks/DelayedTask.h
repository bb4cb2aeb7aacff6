#pragma once

#include <chrono>
#include <functional>
#include <memory>

namespace lumora {

/// Runs one task on a thread of its own, a moment after it was asked for; requests that come meanwhile are
/// the same run. The thread starts with the first request and sleeps, without waking up, until the next.
///
/// Thread safety: every operation may be called from any thread, the task included, save the destructor.
class DelayedTask {
 public:
  /// The task gives false when it failed: then it runs again after longer and longer pauses, a few times, and
  /// rests until it is asked for again.
  explicit DelayedTask(std::function<bool()> task);
  /// Drops a run that is due, and waits for the one that is under way.
  ~DelayedTask();
  DelayedTask(const DelayedTask&) = delete;
  DelayedTask& operator=(const DelayedTask&) = delete;

  void request();
  /// Begins a run that is due, or that failed, at once, and waits for its end, but no longer than that. Does
  /// nothing in a forked child, which does not have the thread.
  void finishWithin(std::chrono::milliseconds limit);

 private:
  struct State;
  std::unique_ptr<State> state_;
};

}  // namespace lumora
