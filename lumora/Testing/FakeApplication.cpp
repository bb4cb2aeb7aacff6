// The application as the test plays it: lifecycle, background time, links, badge and screen. Handlers are
// called without the lock, as they call back.
#include "lumora/Testing/FakeApplication.h"

#include <utility>

namespace lumora::testing {

void FakeApplication::observe(LifecycleNotification notification, std::function<void()> handler) {
  Lock lock(mutex_);
  observers_[notification].push_back(std::move(handler));
}

Application::BackgroundTaskId FakeApplication::beginBackgroundTask(std::function<void()> expirationHandler) {
  Lock lock(mutex_);
  backgroundTasks_.emplace(++lastBackgroundTask_, std::move(expirationHandler));
  return lastBackgroundTask_;
}

void FakeApplication::endBackgroundTask(BackgroundTaskId task) {
  Lock lock(mutex_);
  backgroundTasks_.erase(task);
}

ApplicationState FakeApplication::state() {
  Lock lock(mutex_);
  return state_;
}

bool FakeApplication::openURL(const URL& url) {
  Lock lock(mutex_);
  openedURLs_.push_back(url);
  return !refusesURLs_;
}

int FakeApplication::iconBadgeNumber() {
  Lock lock(mutex_);
  return iconBadgeNumber_;
}

std::shared_ptr<ViewController> FakeApplication::rootViewController() {
  Lock lock(mutex_);
  return rootViewController_;
}

void FakeApplication::setState(ApplicationState state) {
  Lock lock(mutex_);
  state_ = state;
}

void FakeApplication::post(LifecycleNotification notification) {
  std::vector<std::function<void()>> handlers;
  {
    Lock lock(mutex_);
    handlers = observers_[notification];
  }
  for (const auto& handler : handlers) handler();
}

std::size_t FakeApplication::observerCount(LifecycleNotification notification) const {
  Lock lock(mutex_);
  const auto entry = observers_.find(notification);
  return entry == observers_.end() ? 0 : entry->second.size();
}

void FakeApplication::expireBackgroundTasks() {
  std::map<BackgroundTaskId, std::function<void()>> tasks;
  {
    Lock lock(mutex_);
    tasks = backgroundTasks_;
  }
  for (const auto& [task, handler] : tasks) {
    {
      // An earlier handler may have ended this task.
      Lock lock(mutex_);
      if (!backgroundTasks_.contains(task)) continue;
    }
    if (handler) handler();
  }
}

std::size_t FakeApplication::runningBackgroundTasks() const {
  Lock lock(mutex_);
  return backgroundTasks_.size();
}

std::size_t FakeApplication::begunBackgroundTasks() const {
  Lock lock(mutex_);
  return static_cast<std::size_t>(lastBackgroundTask_);
}

void FakeApplication::setRefusesURLs(bool refuses) {
  Lock lock(mutex_);
  refusesURLs_ = refuses;
}

std::vector<URL> FakeApplication::openedURLs() const {
  Lock lock(mutex_);
  return openedURLs_;
}

void FakeApplication::setIconBadgeNumber(int number) {
  Lock lock(mutex_);
  iconBadgeNumber_ = number;
}

void FakeApplication::setRootViewController(std::shared_ptr<ViewController> screen) {
  Lock lock(mutex_);
  rootViewController_ = std::move(screen);
}

}  // namespace lumora::testing
