#include "lumora/Platform/Linux/LinuxApplication.h"

#include <atomic>
#include <map>
#include <utility>
#include <vector>

#include "lumora/Platform/Linux/DesktopURLOpener.h"
#include "lumora/Platform/Mutex.h"

namespace lumora {

struct LinuxApplication::State {
  std::atomic<ApplicationState> applicationState;
  const URLOpener openURL;
  const RootViewControllerSource rootViewController;
  Mutex mutex;
  std::map<LifecycleNotification, std::vector<std::function<void()>>> observers LUMORA_GUARDED_BY(mutex);
  std::map<BackgroundTaskId, std::function<void()>> backgroundTasks LUMORA_GUARDED_BY(mutex);
  BackgroundTaskId lastBackgroundTask LUMORA_GUARDED_BY(mutex) = 0;
};

LinuxApplication::LinuxApplication(ApplicationState initialState, URLOpener urlOpener,
                                   RootViewControllerSource rootViewController)
    : state_(new State{.applicationState = initialState,
                       .openURL = urlOpener ? std::move(urlOpener) : URLOpener(openURLOnDesktop),
                       .rootViewController = std::move(rootViewController),
                       .mutex = {},
                       .observers = {},
                       .backgroundTasks = {}}) {}

LinuxApplication::~LinuxApplication() = default;

void LinuxApplication::observe(LifecycleNotification notification, std::function<void()> handler) {
  Lock lock(state_->mutex);
  state_->observers[notification].push_back(std::move(handler));
}

Application::BackgroundTaskId LinuxApplication::beginBackgroundTask(std::function<void()> expirationHandler) {
  Lock lock(state_->mutex);
  const BackgroundTaskId task = ++state_->lastBackgroundTask;
  state_->backgroundTasks.emplace(task, std::move(expirationHandler));
  return task;
}

void LinuxApplication::endBackgroundTask(BackgroundTaskId task) {
  std::function<void()> handler;  // What it holds is let go after the mutex.
  Lock lock(state_->mutex);
  const auto entry = state_->backgroundTasks.find(task);
  if (entry == state_->backgroundTasks.end()) return;
  handler = std::move(entry->second);
  state_->backgroundTasks.erase(entry);
}

ApplicationState LinuxApplication::state() {
  return state_->applicationState;
}

bool LinuxApplication::openURL(const URL& url) {
  return state_->openURL(url);
}

int LinuxApplication::iconBadgeNumber() {
  return 0;
}

std::shared_ptr<ViewController> LinuxApplication::rootViewController() {
  return state_->rootViewController ? state_->rootViewController() : nullptr;
}

void LinuxApplication::setState(ApplicationState state) {
  state_->applicationState = state;
}

void LinuxApplication::post(LifecycleNotification notification) {
  std::vector<std::function<void()>> handlers;
  {
    Lock lock(state_->mutex);
    handlers = state_->observers[notification];
  }
  for (const auto& handler : handlers) handler();
}

void LinuxApplication::expireBackgroundTasks() {
  std::map<BackgroundTaskId, std::function<void()>> tasks;
  {
    Lock lock(state_->mutex);
    tasks = state_->backgroundTasks;
  }
  for (const auto& [task, handler] : tasks) {
    {
      // An earlier handler may have ended this task.
      Lock lock(state_->mutex);
      if (!state_->backgroundTasks.contains(task)) continue;
    }
    if (handler) handler();
  }
}

}  // namespace lumora
