// A serial queue's tasks and its thread, and the count that tells whether any queue has work. Which tasks
// still run when the process ends is ProcessEnd's to say.
#include "lumora/Platform/Linux/Tasks/LinuxSerialQueue.h"

#include <signal.h>

#include <condition_variable>
#include <deque>
#include <optional>
#include <system_error>
#include <utility>

#include "lumora/Platform/ForkedChild.h"
#include "lumora/Platform/Linux/Tasks/ProcessEnd.h"
#include "lumora/Platform/Linux/Tasks/RunTask.h"
#include "lumora/Platform/Linux/Tasks/StartThread.h"

namespace lumora {

void TaskCounter::add() noexcept {
  ++count_;
  ProcessEnd::begin(ProcessEnd::Work::task);
}

void TaskCounter::finish(std::size_t count) noexcept {
  if (count == 0) return;
  // The time first: who finds the count at zero must not find an older time with it.
  quietSince_ = SteadyClock::now().time_since_epoch().count();
  count_ -= count;
  ProcessEnd::finish(ProcessEnd::Work::task, count);
}

std::chrono::steady_clock::duration TaskCounter::quietTime() const noexcept {
  if (!isZero()) return {};
  return SteadyClock::now().time_since_epoch() - SteadyClock::duration(quietSince_);
}

struct LinuxSerialQueue::State {
  explicit State(std::shared_ptr<TaskCounter> counter) : unfinishedTasks(std::move(counter)) {}

  void push(Task task) {
    bool wakeWorker = false;
    {
      Lock lock(mutex);
      // Dropped like the tasks that wait when a queue is destroyed.
      if (isEnding || isFinishing) return;
      tasks.push_back(std::move(task));
      if (unfinishedTasks) unfinishedTasks->add();  // Only now: memory for the task may have run out.
      wakeWorker = std::exchange(isWorkerAsleep, false);
    }
    // Waking costs a system call, so it happens only when the worker sleeps.
    if (wakeWorker) wake.notify_one();
  }

  /// Waits for a task; nothing once the queue ends.
  std::optional<Task> pop() {
    Lock lock(mutex);
    // When the end's wait is over nothing begins any more: the thread sleeps until the process is gone.
    while ((tasks.empty() ? !isFinishing : ProcessEnd::isOver()) && !isEnding) {
      isWorkerAsleep = true;
      wake.wait(mutex);
    }
    isWorkerAsleep = false;
    if (isEnding || tasks.empty()) return std::nullopt;
    std::optional<Task> task(std::move(tasks.front()));
    tasks.pop_front();
    return task;
  }

  void work() {
    const std::function<std::size_t()> unfinished = [this] {
      Lock lock(mutex);
      return tasks.size() + 1;
    };
    if (unfinishedTasks) ProcessEnd::markLibraryThread(&unfinished);
    while (std::optional<Task> task = pop()) {
      runTask(*task);
      task.reset();  // What the task holds goes before the task counts as finished.
      if (unfinishedTasks) unfinishedTasks->finish();
    }
    ProcessEnd::markLibraryThread(nullptr);
    Lock lock(mutex);
    hasEnded = true;
    ended.notify_all();
  }

  /// Lets the worker's loop end with the tasks that wait, and waits for that; whether it has ended.
  bool finishWithin(std::chrono::milliseconds limit) {
    const auto deadline = std::chrono::steady_clock::now() + limit;
    Lock lock(mutex);
    isFinishing = true;
    wake.notify_one();
    while (!hasEnded) {
      if (ended.wait_until(mutex, deadline) == std::cv_status::timeout) return hasEnded;
    }
    return true;
  }

  /// Ends the worker's loop and drops the tasks that wait.
  void end() {
    std::deque<Task> dropped;
    {
      Lock lock(mutex);
      isEnding = true;
      dropped.swap(tasks);
    }
    wake.notify_one();
    const std::size_t count = dropped.size();
    dropped.clear();
    if (unfinishedTasks) unfinishedTasks->finish(count);
  }

  const std::shared_ptr<TaskCounter> unfinishedTasks;
  Mutex mutex;
  std::condition_variable_any wake;
  std::deque<Task> tasks LUMORA_GUARDED_BY(mutex);
  bool isWorkerAsleep LUMORA_GUARDED_BY(mutex) = false;
  bool isEnding LUMORA_GUARDED_BY(mutex) = false;
  bool isFinishing LUMORA_GUARDED_BY(mutex) = false;
  bool hasEnded LUMORA_GUARDED_BY(mutex) = false;
  std::condition_variable_any ended;
};

LinuxSerialQueue::LinuxSerialQueue(std::string label, std::shared_ptr<TaskCounter> unfinishedTasks)
    : label_(std::move(label)), state_(std::make_shared<State>(std::move(unfinishedTasks))) {}

LinuxSerialQueue::~LinuxSerialQueue() {
  if (isForkedChild()) {
    // There is no thread to wait for, and none to let go of.
    if (worker_.joinable()) static_cast<void>(new std::thread(std::move(worker_)));
    return;
  }
  state_->end();
  Lock lock(workerMutex_);
  if (!worker_.joinable()) return;
  if (worker_.get_id() == std::this_thread::get_id()) {
    // A queue that its own task destroys cannot wait for that task.
    worker_.detach();
  } else {
    worker_.join();
  }
}

std::string LinuxSerialQueue::label() const {
  return label_;
}

/// Whether a task that is handed over now may.
bool LinuxSerialQueue::mayStillRun() const noexcept {
  return state_->unfinishedTasks ? ProcessEnd::acceptsTask() : !ProcessEnd::hasBegun();
}

void LinuxSerialQueue::async(Task task) {
  if (!task || isForkedChild() || !mayStillRun()) return;
  // The task may destroy this queue before the call returns; the state lives on.
  const std::shared_ptr<State> state = state_;
  if (!hasWorker_) startWorker();
  state->push(std::move(task));
}

void LinuxSerialQueue::sync(const Task& task) {
  if (isForkedChild() || !mayStillRun()) return;
  runTaskAndWait(*this, task);
}

bool LinuxSerialQueue::finishWithin(std::chrono::milliseconds limit) {
  if (isForkedChild()) return false;
  startWorker();  // One without a thread would have nobody to say that it has ended.
  if (!state_->finishWithin(limit)) return false;
  Lock lock(workerMutex_);
  if (worker_.joinable()) worker_.join();
  return true;
}

void LinuxSerialQueue::startWorker() {
  Lock lock(workerMutex_);
  if (hasWorker_) return;
  try {
    worker_ = startThread(label_, [state = state_] { state->work(); });
    ProcessEnd::expectThread();
    hasWorker_ = true;
  } catch (const std::system_error&) {
    // The system has no thread to give; the next task tries again.
  }
}

}  // namespace lumora
