// The main queue: any thread hands tasks over, the host's loop runs them, woken by a condition or by an
// eventfd. Serial queues are in LinuxSerialQueue.cpp; what a throwing task does, in RunTask.cpp.
#include <sys/eventfd.h>
#include <unistd.h>

#include <condition_variable>
#include <cstdint>
#include <deque>
#include <optional>
#include <thread>
#include <utility>

#include "lumora/Platform/ForkedChild.h"
#include "lumora/Platform/Linux/Files/FileDescriptor.h"
#include "lumora/Platform/Linux/LinuxTaskQueues.h"
#include "lumora/Platform/Linux/Tasks/ProcessEnd.h"
#include "lumora/Platform/Linux/Tasks/RunTask.h"
#include "lumora/Platform/Mutex.h"

namespace lumora {

struct LinuxMainQueue::State {
  // Both wake the loop under the lock: the unlocking is then their last touch of this object, which what they
  // bring about may destroy.
  void push(Task task) {
    Lock lock(mutex);
    tasks.push_back(std::move(task));
    if (tasks.size() == 1) raiseDescriptor();
    wake.notify_one();
  }

  void stop() {
    Lock lock(mutex);
    isStopping = true;
    wake.notify_one();
  }

  /// Whether `stop` was called since the loop last ended; it counts no more then.
  bool takeStop() {
    Lock lock(mutex);
    return std::exchange(isStopping, false);
  }

  std::optional<Task> pop() {
    Lock lock(mutex);
    return popLocked();
  }

  /// Waits for a task; nothing once the loop is to stop.
  std::optional<Task> waitAndPop() {
    Lock lock(mutex);
    // While the process ends this thread stays here: returning to the host would let it end the process
    // twice.
    while ((tasks.empty() || ProcessEnd::hasBegun()) && !isStopping) wake.wait(mutex);
    if (std::exchange(isStopping, false)) return std::nullopt;
    return popLocked();
  }

  void finish(std::optional<Task>& task) {
    runTask(*task);
    task.reset();
    Lock lock(mutex);
    --runningTasks;
  }

  Mutex mutex;
  std::condition_variable_any wake;
  std::deque<Task> tasks LUMORA_GUARDED_BY(mutex);
  int runningTasks LUMORA_GUARDED_BY(mutex) = 0;
  bool isStopping LUMORA_GUARDED_BY(mutex) = false;
  /// Raised exactly while `tasks` is not empty.
  const FileDescriptor event{::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)};
  const std::thread::id mainThread = std::this_thread::get_id();

 private:
  std::optional<Task> popLocked() LUMORA_REQUIRES(mutex) {
    if (tasks.empty() || ProcessEnd::hasBegun()) return std::nullopt;
    std::optional<Task> task(std::move(tasks.front()));
    tasks.pop_front();
    ++runningTasks;
    if (tasks.empty()) lowerDescriptor();
    return task;
  }

  void raiseDescriptor() const { ::eventfd_write(event.get(), 1); }
  void lowerDescriptor() const {
    eventfd_t count = 0;
    ::eventfd_read(event.get(), &count);
  }
};

LinuxMainQueue::LinuxMainQueue() : state_(std::make_unique<State>()) {}

LinuxMainQueue::~LinuxMainQueue() = default;

std::string LinuxMainQueue::label() const {
  return "main";
}

void LinuxMainQueue::async(Task task) {
  if (task && !isForkedChild()) state_->push(std::move(task));
}

void LinuxMainQueue::sync(const Task& task) {
  // The task would never run, and its caller wait for ever.
  if (isForkedChild() || ProcessEnd::hasBegun()) return;
  if (isMainThread()) {
    runTask(task);  // Waiting for itself, the thread would never come to it.
  } else {
    runTaskAndWait(*this, task);
  }
}

void LinuxMainQueue::run() {
  if (isForkedChild() || ProcessEnd::hasBegun()) return;
  if (state_->takeStop()) {
    runPending();
    state_->takeStop();  // A stop by one of these tasks has what it asked for.
    return;
  }
  while (std::optional<Task> task = state_->waitAndPop()) state_->finish(task);
}

void LinuxMainQueue::stop() {
  if (isForkedChild()) return;
  state_->stop();
}

std::size_t LinuxMainQueue::runPending() {
  // The tasks are the parent's, and so is the descriptor that would be lowered.
  if (isForkedChild()) return 0;
  std::size_t waiting = 0;
  {
    Lock lock(state_->mutex);
    waiting = state_->tasks.size();
  }
  // Tasks that these tasks add are left for the next call, so that it ends. A nested call may take some.
  std::size_t count = 0;
  while (count < waiting) {
    std::optional<Task> task = state_->pop();
    if (!task) break;
    state_->finish(task);
    ++count;
  }
  return count;
}

int LinuxMainQueue::descriptor() const noexcept {
  return state_->event.get();
}

bool LinuxMainQueue::isMainThread() const noexcept {
  return std::this_thread::get_id() == state_->mainThread;
}

bool LinuxMainQueue::isIdle() const {
  if (isForkedChild()) return true;
  Lock lock(state_->mutex);
  return state_->tasks.empty() && state_->runningTasks == 0;
}

}  // namespace lumora
