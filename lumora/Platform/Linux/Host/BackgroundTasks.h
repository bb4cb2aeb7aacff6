#pragma once

#include <chrono>
#include <functional>
#include <memory>

#include "lumora/Platform/Application.h"
#include "lumora/Platform/TaskQueues.h"

namespace lumora {

/// How long the application may work on in the background.
struct BackgroundTime {
  using Duration = std::chrono::steady_clock::duration;

  /// After the last work.
  Duration quiet = std::chrono::seconds(30);
  /// In all.
  Duration longest = std::chrono::minutes(3);

  /// What is left of it for a task of that age, when nothing has been done for that long.
  Duration left(Duration age, Duration quietTime) const;
};

/// The background tasks that run. When a task's time has run out its handler is called, once, on the main
/// queue. A thread sleeps towards that moment, only while there are tasks.
///
/// Thread safety: every operation may be called from any thread.
class BackgroundTasks {
 public:
  using Id = Application::BackgroundTaskId;
  /// For how long no work has been done.
  using QuietTime = std::function<BackgroundTime::Duration()>;

  /// The main queue is used until the destructor returns.
  BackgroundTasks(TaskQueue& mainQueue, QuietTime quietTime, BackgroundTime time);
  ~BackgroundTasks();
  BackgroundTasks(const BackgroundTasks&) = delete;
  BackgroundTasks& operator=(const BackgroundTasks&) = delete;

  Id begin(std::function<void()> expirationHandler);
  void end(Id task);
  /// Calls the handler of every task that still runs. Main thread only.
  void expireAll();

 private:
  struct State;
  const std::shared_ptr<State> state_;
};

}  // namespace lumora
