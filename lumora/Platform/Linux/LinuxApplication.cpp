// The application as its host tells of it: state, lifecycle, screens, links. Background time is
// BackgroundTasks' business; links go to DesktopURLOpener when the host opens none itself.
#include "lumora/Platform/Linux/LinuxApplication.h"

#include <atomic>
#include <deque>
#include <utility>

#include "lumora/Platform/ForkedChild.h"
#include "lumora/Platform/Linux/Host/BackgroundTasks.h"
#include "lumora/Platform/Linux/Host/DesktopURLOpener.h"
#include "lumora/Platform/Linux/Tasks/ProcessEnd.h"
#include "lumora/Platform/Mutex.h"

namespace lumora {

struct LinuxApplication::State {
  /// They are only ever added, and stay where they are.
  using Handlers = std::deque<std::function<void()>>;

  std::size_t handlerCount(LifecycleNotification notification) {
    Lock lock(mutex);
    return observersOf(notification).size();
  }
  const std::function<void()>& handler(LifecycleNotification notification, std::size_t index) {
    Lock lock(mutex);
    return observersOf(notification)[index];
  }

  std::atomic<ApplicationState> applicationState;
  const URLOpener openURL;
  const RootViewControllerSource rootViewController;
  Mutex mutex;
  Handlers& observersOf(LifecycleNotification notification) LUMORA_REQUIRES(mutex) {
    return notification == LifecycleNotification::willEnterForeground ? foregroundObservers
                                                                      : backgroundObservers;
  }
  Handlers foregroundObservers LUMORA_GUARDED_BY(mutex);
  Handlers backgroundObservers LUMORA_GUARDED_BY(mutex);
  BackgroundTasks backgroundTasks;
};

LinuxApplication::LinuxApplication(ApplicationState initialState, URLOpener urlOpener,
                                   RootViewControllerSource rootViewController, LinuxTaskQueues& queues)
    : state_(
          new State{.applicationState = initialState,
                    .openURL = urlOpener ? std::move(urlOpener) : URLOpener(openURLOnDesktop),
                    .rootViewController = std::move(rootViewController),
                    .mutex = {},
                    .foregroundObservers = {},
                    .backgroundObservers = {},
                    .backgroundTasks = {queues.mainQueue(), [&queues] { return queues.quietTime(); }, {}}}) {}

LinuxApplication::~LinuxApplication() = default;

void LinuxApplication::observe(LifecycleNotification notification, std::function<void()> handler) {
  if (isForkedChild()) return;
  Lock lock(state_->mutex);
  state_->observersOf(notification).push_back(std::move(handler));
}

Application::BackgroundTaskId LinuxApplication::beginBackgroundTask(std::function<void()> expirationHandler) {
  return state_->backgroundTasks.begin(std::move(expirationHandler));
}

void LinuxApplication::endBackgroundTask(BackgroundTaskId task) {
  state_->backgroundTasks.end(task);
}

ApplicationState LinuxApplication::state() {
  return state_->applicationState;
}

bool LinuxApplication::openURL(const URL& url) {
  return state_->openURL(url);
}

int LinuxApplication::iconBadgeNumber() {
  // There is no badge to be read.
  return 0;
}

std::shared_ptr<ViewController> LinuxApplication::rootViewController() {
  return state_->rootViewController ? state_->rootViewController() : nullptr;
}

void LinuxApplication::setState(ApplicationState state) {
  state_->applicationState = state;
}

void LinuxApplication::post(LifecycleNotification notification) {
  // What the library would do now is not taken by its queues any more.
  if (isForkedChild() || ProcessEnd::hasBegun()) return;
  // Called without the lock: a handler may take its time, or add another, whose turn comes the next time.
  for (std::size_t index = 0, count = state_->handlerCount(notification); index < count; ++index)
    state_->handler(notification, index)();
}

void LinuxApplication::expireBackgroundTasks() {
  state_->backgroundTasks.expireAll();
}

}  // namespace lumora
