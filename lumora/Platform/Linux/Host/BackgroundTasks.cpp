// Background time that runs out by itself, watched by a thread that lives only while there are tasks. How
// long nothing was done is told by the task queues; LinuxApplication hands it on.
#include "lumora/Platform/Linux/Host/BackgroundTasks.h"

#include <algorithm>
#include <condition_variable>
#include <map>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

#include "lumora/Platform/ForkedChild.h"
#include "lumora/Platform/Linux/Tasks/StartThread.h"
#include "lumora/Platform/Mutex.h"

namespace lumora {

BackgroundTime::Duration BackgroundTime::left(Duration age, Duration quietTime) const {
  // The task's begin counts as work.
  return std::max(Duration(), std::min(quiet - std::min(age, quietTime), longest - age));
}

struct BackgroundTasks::State : std::enable_shared_from_this<State> {
  using SteadyClock = std::chrono::steady_clock;

  struct Task {
    std::function<void()> handler;
    SteadyClock::time_point begun;
    bool isExpired = false;
  };

  State(TaskQueue& queue, QuietTime quietTimeSource, BackgroundTime backgroundTime)
      : mainQueue(queue), quietTime(std::move(quietTimeSource)), time(backgroundTime) {}

  /// The thread's work; ends when no task is left to expire.
  void watch() {
    Lock lock(mutex);
    while (const auto left = timeLeft()) {
      if (*left > SteadyClock::duration()) {
        changed.wait_for(mutex, *left);
      } else {
        expireDue();
      }
    }
    isWatched = false;
    changed.notify_all();
  }

  /// The time until the next task expires; nothing when there is none.
  std::optional<SteadyClock::duration> timeLeft() LUMORA_REQUIRES(mutex) {
    std::optional<SteadyClock::duration> next;
    if (isClosed) return next;
    const SteadyClock::time_point now = SteadyClock::now();
    for (const auto& [id, task] : tasks) {
      // Its handler is on its way, and ends it or leaves it.
      if (task.isExpired) continue;
      const auto left = time.left(now - task.begun, quietTime());
      next = std::min(next.value_or(left), left);
    }
    return next;
  }

  void expireDue() LUMORA_REQUIRES(mutex) {
    const SteadyClock::time_point now = SteadyClock::now();
    for (auto& [id, task] : tasks) {
      if (task.isExpired || time.left(now - task.begun, quietTime()) > SteadyClock::duration()) continue;
      task.isExpired = true;
      mainQueue.async([self = shared_from_this(), id = id] { self->expire(id); });
    }
  }

  /// Calls the task's handler unless the task has ended.
  void expire(Id id) {
    std::function<void()> handler;
    {
      Lock lock(mutex);
      const auto entry = tasks.find(id);
      if (entry == tasks.end()) return;
      handler = entry->second.handler;
    }
    if (handler) handler();
  }

  void startWatching() LUMORA_REQUIRES(mutex) {
    try {
      // Not joined: who ends this waits for `isWatched`.
      startThread("lumora.tasks", [self = shared_from_this()] { self->watch(); }).detach();
      isWatched = true;
    } catch (const std::system_error&) {
      // The system has no thread to give; the next task tries again.
    }
  }

  TaskQueue& mainQueue;
  const QuietTime quietTime;
  const BackgroundTime time;
  Mutex mutex;
  std::condition_variable_any changed;
  std::map<Id, Task> tasks LUMORA_GUARDED_BY(mutex);
  Id lastId LUMORA_GUARDED_BY(mutex) = 0;
  bool isWatched LUMORA_GUARDED_BY(mutex) = false;
  bool isClosed LUMORA_GUARDED_BY(mutex) = false;
};

BackgroundTasks::BackgroundTasks(TaskQueue& mainQueue, QuietTime quietTime, BackgroundTime time)
    : state_(std::make_shared<State>(mainQueue, std::move(quietTime), time)) {}

BackgroundTasks::~BackgroundTasks() {
  if (isForkedChild()) return;  // Nobody watches there.
  Lock lock(state_->mutex);
  state_->isClosed = true;
  state_->changed.notify_all();
  while (state_->isWatched) state_->changed.wait(state_->mutex);
}

BackgroundTasks::Id BackgroundTasks::begin(std::function<void()> expirationHandler) {
  if (isForkedChild()) return 0;
  Lock lock(state_->mutex);
  const Id id = ++state_->lastId;
  state_->tasks.emplace(id, State::Task{std::move(expirationHandler), State::SteadyClock::now()});
  if (!state_->isWatched) state_->startWatching();
  return id;
}

void BackgroundTasks::end(Id task) {
  if (isForkedChild()) return;
  std::map<Id, State::Task>::node_type ended;  // What its handler holds is let go after the mutex.
  Lock lock(state_->mutex);
  ended = state_->tasks.extract(task);
  state_->changed.notify_all();
}

void BackgroundTasks::expireAll() {
  if (isForkedChild()) return;
  std::vector<Id> ids;
  {
    Lock lock(state_->mutex);
    for (const auto& [id, task] : state_->tasks) ids.push_back(id);
  }
  for (const Id id : ids) state_->expire(id);  // An earlier handler may have ended a later task.
}

}  // namespace lumora
