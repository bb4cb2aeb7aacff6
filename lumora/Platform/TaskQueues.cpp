// The waits with a limit, for queues that have nothing better: by a task that tells that its turn has come.
#include "lumora/Platform/TaskQueues.h"

#include <future>

namespace lumora {

bool TaskQueue::syncWithin(Task task, std::chrono::milliseconds limit) {
  if (!task) return true;
  auto turn = std::make_shared<std::promise<bool>>();
  std::future<bool> hasRun = turn->get_future();
  async([turn = std::move(turn), task = std::move(task)] {
    // However the task ends, its turn is over.
    struct Notice {
      std::promise<bool>& promise;
      ~Notice() { promise.set_value(true); }
    } const notice{*turn};
    task();
  });
  if (hasRun.wait_for(limit) != std::future_status::ready) return false;
  try {
    return hasRun.get();
  } catch (const std::future_error&) {
    return false;  // The queue dropped the task.
  }
}

bool TaskQueue::finishWithin(std::chrono::milliseconds limit) {
  return syncWithin([] {}, limit);
}

}  // namespace lumora
