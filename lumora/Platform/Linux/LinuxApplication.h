#pragma once

#include <functional>
#include <memory>

#include "lumora/Platform/Application.h"
#include "lumora/Platform/Linux/LinuxTaskQueues.h"

namespace lumora {

/// The application on Linux. The host tells it when the program goes to the background or comes back.
///
/// A background task's time runs out by itself: 30 seconds after the last task of a serial queue ended, three
/// minutes after its own begin at the latest. Its handler is then called on the main queue.
class LUMORA_EXPORT LinuxApplication : public Application {
 public:
  using URLOpener = std::function<bool(const URL& url)>;
  using RootViewControllerSource = std::function<std::shared_ptr<ViewController>()>;

  /// The queues must outlive the application.
  LinuxApplication(ApplicationState initialState, URLOpener urlOpener,
                   RootViewControllerSource rootViewController, LinuxTaskQueues& queues);
  ~LinuxApplication() override;

  void observe(LifecycleNotification notification, std::function<void()> handler) override;
  BackgroundTaskId beginBackgroundTask(std::function<void()> expirationHandler) override;
  void endBackgroundTask(BackgroundTaskId task) override;
  ApplicationState state() override;
  bool openURL(const URL& url) override;
  int iconBadgeNumber() override;
  std::shared_ptr<ViewController> rootViewController() override;

  /// Sets the state; observers hear nothing. Any thread.
  void setState(ApplicationState state);
  /// Calls the notification's observers; while the process ends, nobody. Main thread only.
  void post(LifecycleNotification notification);
  /// Ends the background time early: calls the expiration handler of every task still running. Main thread
  /// only.
  void expireBackgroundTasks();

 private:
  struct State;
  std::unique_ptr<State> state_;
};

}  // namespace lumora
