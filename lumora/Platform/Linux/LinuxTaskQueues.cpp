// Makes serial queues that share one count of what is unfinished. The queues are in Tasks/, and so is what
// the end of the process means to them (ProcessEnd).
#include "lumora/Platform/Linux/LinuxTaskQueues.h"

#include <utility>

#include "lumora/Platform/Linux/Tasks/LinuxHostQueue.h"
#include "lumora/Platform/Linux/Tasks/LinuxSerialQueue.h"
#include "lumora/Platform/Linux/Tasks/ProcessEnd.h"

namespace lumora {

LinuxTaskQueues::LinuxTaskQueues(LinuxMainQueue& mainQueue)
    : mainQueue_(mainQueue), unfinishedTasks_(std::make_shared<TaskCounter>()) {}

LinuxTaskQueues::~LinuxTaskQueues() = default;

std::unique_ptr<TaskQueue> LinuxTaskQueues::makeSerialQueue(std::string label) {
  // The queue may outlive this object; it keeps the count alive.
  return std::make_unique<LinuxSerialQueue>(std::move(label), unfinishedTasks_);
}

TaskQueue& LinuxTaskQueues::mainQueue() {
  return mainQueue_;
}

bool LinuxTaskQueues::isMainThread() {
  return mainQueue_.isMainThread();
}

std::unique_ptr<TaskQueue> LinuxTaskQueues::makeHostQueue(std::string label) {
  return std::make_unique<LinuxHostQueue>(std::move(label));
}

void LinuxTaskQueues::reportUnfinished(const std::function<void(std::size_t tasks)>& report) {
  ProcessEnd::reportUnfinished(report);
}

bool LinuxTaskQueues::areSerialQueuesIdle() const {
  return unfinishedTasks_->isZero();
}

std::chrono::steady_clock::duration LinuxTaskQueues::quietTime() const {
  return unfinishedTasks_->quietTime();
}

}  // namespace lumora
