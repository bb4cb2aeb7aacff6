// One call after a time that may change. A task that must also run at the end of the process is
// DelayedTask's.
#include "lumora/Platform/Linux/Tasks/LinuxTimer.h"

#include <unistd.h>

#include <condition_variable>
#include <optional>
#include <system_error>
#include <thread>
#include <utility>

#include "lumora/Platform/Linux/Tasks/ProcessEnd.h"
#include "lumora/Platform/Linux/Tasks/RunTask.h"
#include "lumora/Platform/Linux/Tasks/StartThread.h"
#include "lumora/Platform/Mutex.h"

namespace lumora {
namespace {

using Monotonic = std::chrono::steady_clock;

}  // namespace

struct LinuxTimer::State {
  explicit State(std::function<void()> toCall) : callback(std::move(toCall)) {}

  void work() {
    while (waitUntilDue()) runTask(callback);
  }

  /// False once the thread is to end.
  bool waitUntilDue() {
    Lock lock(mutex);
    while (!isEnding) {
      const std::optional<Monotonic::time_point> moment = due;
      if (!moment || ProcessEnd::hasBegun()) {
        wake.wait(mutex);
      } else if (Monotonic::now() < *moment) {
        wake.wait_until(mutex, *moment);
      } else {
        due.reset();
        return true;
      }
    }
    return false;
  }

  const pid_t process = ::getpid();
  const std::function<void()> callback;
  Mutex mutex;
  std::condition_variable_any wake;
  std::thread worker LUMORA_GUARDED_BY(mutex);
  std::optional<Monotonic::time_point> due LUMORA_GUARDED_BY(mutex);
  bool isEnding LUMORA_GUARDED_BY(mutex) = false;
};

LinuxTimer::LinuxTimer(std::function<void()> callback)
    : state_(std::make_shared<State>(std::move(callback))) {}

LinuxTimer::~LinuxTimer() {
  if (::getpid() != state_->process) {
    // Nobody in a forked child can wait for the thread: what it uses stays.
    static_cast<void>(new std::shared_ptr<State>(std::move(state_)));
    return;
  }
  std::thread worker;
  {
    Lock lock(state_->mutex);
    state_->isEnding = true;
    worker.swap(state_->worker);
  }
  state_->wake.notify_all();
  if (!worker.joinable()) return;
  if (worker.get_id() == std::this_thread::get_id()) {
    worker.detach();
  } else {
    worker.join();
  }
}

void LinuxTimer::start(std::chrono::milliseconds delay) {
  if (::getpid() != state_->process) return;
  Lock lock(state_->mutex);
  state_->due = Monotonic::now() + delay;
  state_->wake.notify_all();
  if (state_->worker.joinable()) return;
  try {
    state_->worker = startThread("lumora.timer", [state = state_] { state->work(); });
  } catch (const std::system_error&) {
    // The system has no thread to give; the next start tries again.
  }
}

bool LinuxTimer::cancel() {
  if (::getpid() != state_->process) return false;
  Lock lock(state_->mutex);
  state_->due.reset();
  return true;
}

}  // namespace lumora
