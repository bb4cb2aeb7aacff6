// Runs a task so that nothing that it throws leaves the queue, and waits for one that another thread runs.
// Both kinds of queue use it.
#include "lumora/Platform/Linux/Tasks/RunTask.h"

#include <future>
#include <memory>

namespace lumora {

void runTask(const Task& task) noexcept {
  try {
    task();
  } catch (...) {
    // A task has nobody to report to.
  }
}

void runTaskAndWait(TaskQueue& queue, const Task& task) {
  if (!task) return;
  auto done = std::make_shared<std::promise<bool>>();
  const std::future<bool> ended = done->get_future();
  queue.async([done = std::move(done), &task] {
    runTask(task);
    done->set_value(true);
  });
  // A queue that drops the task breaks the promise, which ends the wait too.
  ended.wait();
}

}  // namespace lumora
