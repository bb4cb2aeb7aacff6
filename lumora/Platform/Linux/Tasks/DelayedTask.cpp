// A thread for one task that may wait a moment, such as writing settings that nobody flushed
// (LinuxSettingsStore). It goes by the steady clock and not by the platform's, of which it is a part.
#include "lumora/Platform/Linux/Tasks/DelayedTask.h"

#include <unistd.h>

#include <array>
#include <condition_variable>
#include <cstddef>
#include <optional>
#include <system_error>
#include <thread>
#include <utility>

#include "lumora/Platform/Linux/Tasks/StartThread.h"
#include "lumora/Platform/Mutex.h"

namespace lumora {
namespace {

using SteadyClock = std::chrono::steady_clock;
using std::chrono::milliseconds;

/// Before the first run, and after each one that failed.
constexpr std::array pauses = {milliseconds(100), milliseconds(1'000), milliseconds(10'000),
                               milliseconds(100'000)};

}  // namespace

struct DelayedTask::State {
  explicit State(std::function<bool()> work) : task(std::move(work)) {}

  void work() {
    while (waitUntilDue()) ended(task());
  }

  /// False once the thread is to end.
  bool waitUntilDue() {
    Lock lock(mutex);
    while (!isEnding) {
      const std::optional<SteadyClock::time_point> moment = due;
      if (!moment) {
        wake.wait(mutex);
      } else if (SteadyClock::now() < *moment) {
        wake.wait_until(mutex, *moment);
      } else {
        due.reset();
        isRunning = true;
        return true;
      }
    }
    return false;
  }

  void ended(bool succeeded) {
    Lock lock(mutex);
    isRunning = false;
    failures = succeeded ? 0 : failures + 1;
    // A request that came meanwhile has set a moment of its own. The end waits for one attempt, not for more.
    if (!succeeded && !isFinishing && failures < pauses.size() && !due)
      due = SteadyClock::now() + pauses[failures];
    wake.notify_all();
  }

  void startWorker() LUMORA_REQUIRES(mutex) {
    try {
      worker = startThread("lumora.writer", [this] { work(); });
    } catch (const std::system_error&) {
      // The system has no thread to give; the next request tries again.
    }
  }

  const pid_t process = ::getpid();
  const std::function<bool()> task;
  Mutex mutex;
  std::condition_variable_any wake;
  std::thread worker;
  std::optional<SteadyClock::time_point> due LUMORA_GUARDED_BY(mutex);
  std::size_t failures LUMORA_GUARDED_BY(mutex) = 0;
  bool isRunning LUMORA_GUARDED_BY(mutex) = false;
  bool isFinishing LUMORA_GUARDED_BY(mutex) = false;
  bool isEnding LUMORA_GUARDED_BY(mutex) = false;
};

DelayedTask::DelayedTask(std::function<bool()> task) : state_(std::make_unique<State>(std::move(task))) {}

DelayedTask::~DelayedTask() {
  if (::getpid() != state_->process) {
    static_cast<void>(state_.release());  // Nobody in a forked child can wait for the thread, or wake it.
    return;
  }
  {
    Lock lock(state_->mutex);
    state_->isEnding = true;
  }
  state_->wake.notify_all();
  if (state_->worker.joinable()) state_->worker.join();
}

void DelayedTask::request() {
  Lock lock(state_->mutex);
  const SteadyClock::time_point moment = SteadyClock::now() + pauses.front();
  // Whoever asks again begins with the shortest pause.
  state_->failures = 0;
  if (!state_->worker.joinable()) state_->startWorker();
  // A run that comes sooner serves this request too.
  if (state_->due && *state_->due <= moment) return;
  state_->due = moment;
  state_->wake.notify_all();
}

void DelayedTask::finishWithin(milliseconds limit) {
  if (::getpid() != state_->process) return;
  Lock lock(state_->mutex);
  if (!state_->worker.joinable()) return;
  const SteadyClock::time_point deadline = SteadyClock::now() + limit;
  state_->isFinishing = true;
  if (state_->due || state_->failures > 0) state_->due = SteadyClock::now();
  state_->wake.notify_all();
  while ((state_->due || state_->isRunning) && SteadyClock::now() < deadline) {
    state_->wake.wait_until(state_->mutex, deadline);
  }
  state_->isFinishing = false;
}

}  // namespace lumora
