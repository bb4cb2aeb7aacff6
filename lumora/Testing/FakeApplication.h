#pragma once

#include <functional>
#include <map>
#include <memory>
#include <vector>

#include "lumora/Platform/Application.h"
#include "lumora/Platform/Mutex.h"

namespace lumora::testing {

/// An application that does what the test says, and remembers what it was asked.
///
/// Thread safety: every operation may be called from any thread. Handlers run on the thread that causes them,
/// without a lock held.
class LUMORA_EXPORT FakeApplication : public Application {
 public:
  void observe(LifecycleNotification notification, std::function<void()> handler) override;
  BackgroundTaskId beginBackgroundTask(std::function<void()> expirationHandler) override;
  void endBackgroundTask(BackgroundTaskId task) override;
  ApplicationState state() override;
  bool openURL(const URL& url) override;
  int iconBadgeNumber() override;
  std::shared_ptr<ViewController> rootViewController() override;

  /// Sets the state, without a notification; `active` at first.
  void setState(ApplicationState state);
  /// Calls the notification's observers.
  void post(LifecycleNotification notification);
  std::size_t observerCount(LifecycleNotification notification) const;
  /// Calls the expiration handler of every background task that runs.
  void expireBackgroundTasks();
  /// The tasks begun and not yet ended, and how many were ever begun.
  std::size_t runningBackgroundTasks() const;
  std::size_t begunBackgroundTasks() const;
  /// Makes `openURL` refuse, or open again. The URLs it was given count in either case.
  void setRefusesURLs(bool refuses);
  std::vector<URL> openedURLs() const;
  void setIconBadgeNumber(int number);
  void setRootViewController(std::shared_ptr<ViewController> screen);

 private:
  mutable Mutex mutex_;
  ApplicationState state_ LUMORA_GUARDED_BY(mutex_) = ApplicationState::active;
  std::map<LifecycleNotification, std::vector<std::function<void()>>> observers_ LUMORA_GUARDED_BY(mutex_);
  std::map<BackgroundTaskId, std::function<void()>> backgroundTasks_ LUMORA_GUARDED_BY(mutex_);
  BackgroundTaskId lastBackgroundTask_ LUMORA_GUARDED_BY(mutex_) = 0;
  bool refusesURLs_ LUMORA_GUARDED_BY(mutex_) = false;
  std::vector<URL> openedURLs_ LUMORA_GUARDED_BY(mutex_);
  int iconBadgeNumber_ LUMORA_GUARDED_BY(mutex_) = 0;
  std::shared_ptr<ViewController> rootViewController_ LUMORA_GUARDED_BY(mutex_);
};

}  // namespace lumora::testing
