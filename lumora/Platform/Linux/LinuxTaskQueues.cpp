#include "lumora/Platform/Linux/LinuxTaskQueues.h"

#include <atomic>
#include <utility>

#include "lumora/Platform/Linux/LinuxSerialQueue.h"

namespace lumora {

struct LinuxTaskQueues::State {
  std::atomic<std::size_t> unfinishedTasks = 0;
};

LinuxTaskQueues::LinuxTaskQueues(LinuxMainQueue& mainQueue)
    : mainQueue_(mainQueue), state_(std::make_shared<State>()) {}

LinuxTaskQueues::~LinuxTaskQueues() = default;

std::unique_ptr<TaskQueue> LinuxTaskQueues::makeSerialQueue(std::string label) {
  // The queue may outlive this object; it keeps the count alive.
  return std::make_unique<LinuxSerialQueue>(
      std::move(label), std::shared_ptr<std::atomic<std::size_t>>(state_, &state_->unfinishedTasks));
}

TaskQueue& LinuxTaskQueues::mainQueue() {
  return mainQueue_;
}

bool LinuxTaskQueues::isMainThread() {
  return mainQueue_.isMainThread();
}

bool LinuxTaskQueues::areSerialQueuesIdle() const {
  return state_->unfinishedTasks == 0;
}

}  // namespace lumora
