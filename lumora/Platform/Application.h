#pragma once

#include <cstdint>
#include <functional>
#include <memory>

#include "lumora/Platform/URL.h"
#include "lumora/Platform/ViewController.h"

namespace lumora {

enum class ApplicationState { active, inactive, background };

enum class LifecycleNotification { willEnterForeground, didEnterBackground };

/// The running host application.
///
/// Thread safety: every operation may be called from any thread, except where it says otherwise.
class LUMORA_EXPORT Application {
 public:
  using BackgroundTaskId = std::uint64_t;

  virtual ~Application() = default;
  /// Calls the handler on the main thread for each notification of that kind. Each registration counts: a
  /// handler registered twice is called twice. There is no way to unregister.
  virtual void observe(LifecycleNotification notification, std::function<void()> handler) = 0;
  /// Asks the system to let the application work on in the background. The handler is called when that time
  /// runs out, and must end the task.
  virtual BackgroundTaskId beginBackgroundTask(std::function<void()> expirationHandler) = 0;
  virtual void endBackgroundTask(BackgroundTaskId task) = 0;
  virtual ApplicationState state() = 0;
  /// Opens a URL outside the application. Returns false when the system refuses. Main thread only.
  virtual bool openURL(const URL& url) = 0;
  /// The number on the application's icon.
  virtual int iconBadgeNumber() = 0;
  /// The bottom screen of the key window; null when there is no window. Main thread only.
  virtual std::shared_ptr<ViewController> rootViewController() = 0;
};

/// Passes everything to another application; a base for a host that replaces a single operation.
class LUMORA_EXPORT ForwardingApplication : public Application {
 public:
  explicit ForwardingApplication(Application& next) : next_(next) {}
  void observe(LifecycleNotification notification, std::function<void()> handler) override {
    next_.observe(notification, std::move(handler));
  }
  BackgroundTaskId beginBackgroundTask(std::function<void()> expirationHandler) override {
    return next_.beginBackgroundTask(std::move(expirationHandler));
  }
  void endBackgroundTask(BackgroundTaskId task) override { next_.endBackgroundTask(task); }
  ApplicationState state() override { return next_.state(); }
  bool openURL(const URL& url) override { return next_.openURL(url); }
  int iconBadgeNumber() override { return next_.iconBadgeNumber(); }
  std::shared_ptr<ViewController> rootViewController() override { return next_.rootViewController(); }

 private:
  Application& next_;
};

}  // namespace lumora
