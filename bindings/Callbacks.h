#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "lumora/Facade/LumoraObserver.h"
#include "lumora/InApp/MessageScreens.h"
#include "lumora/Platform/Alerts.h"
#include "lumora/Platform/Notifications.h"
#include "lumora/Platform/TaskQueues.h"

namespace lumora {
struct LinuxPlatformOptions;
}

/// What a host in a managed language registers: classes that SWIG lets it derive, where the library takes
/// functions.
///
/// Every call of one passes the gate, so that none reaches a runtime that has ended. The host's side sees to
/// it that its exceptions stay there.
namespace lumora::bindings {

/// Why an operation is refused.
inline constexpr const char* kOnlyMainThread = "only the main thread may do this";

/// A task for the main queue, or what a tap on a notification completes.
class Runnable {
 public:
  virtual ~Runnable() = default;
  virtual void run() = 0;
};

/// Receives the log's lines, on any thread. It must not call back into the library.
class LogWriter {
 public:
  virtual ~LogWriter() = default;
  virtual void write(const std::string& message) = 0;
};

/// Opens a link on the main thread; false when it cannot.
class URLOpener {
 public:
  virtual ~URLOpener() = default;
  virtual bool open(const std::string& url) = 0;
};

/// Shows an alert on the main thread. The person's answer goes to its `press`.
class AlertPresenter {
 public:
  virtual ~AlertPresenter() = default;
  virtual void show(const Alert& alert) = 0;
};

/// How a notification's scheduling ended.
class Completion {
 public:
  using Function = std::function<void(std::optional<std::string> error)>;
  explicit Completion(Function function) : function_(std::move(function)) {}
  /// Nothing for a notification that was scheduled, else why it could not be. Once; any thread.
  void finish(const std::optional<std::string>& error) const { function_(error); }

 private:
  const Function function_;
};

/// Schedules notifications on the main thread; the first form is that of system version 10 and newer.
class NotificationScheduler {
 public:
  virtual ~NotificationScheduler() = default;
  virtual void schedule(const NotificationRequest& request, std::shared_ptr<Completion> completion) = 0;
  virtual void scheduleLocal(const LocalNotification& notification) = 0;
};

/// Draws in-app messages, on the main thread.
class MessageDisplay {
 public:
  virtual ~MessageDisplay() = default;
  virtual void show(std::uint64_t message, const Dictionary& description) = 0;
  virtual void dismiss(std::uint64_t message) = 0;
};

/// The same as the functions that the library takes. What they hold ends with `releaseCallbacks`.
Task taskOf(std::shared_ptr<Runnable> runnable);
std::shared_ptr<LumoraObserver> gated(std::shared_ptr<LumoraObserver> observer);
/// Kept until the process ends, as a platform's screens must be.
MessageScreens& makeMessageScreens(std::shared_ptr<MessageDisplay> display);

void setLogWriter(LinuxPlatformOptions& options, std::shared_ptr<LogWriter> writer);
void setURLOpener(LinuxPlatformOptions& options, std::shared_ptr<URLOpener> opener);
void setAlertPresenter(LinuxPlatformOptions& options, std::shared_ptr<AlertPresenter> presenter);
void setNotificationScheduler(LinuxPlatformOptions& options,
                              std::shared_ptr<NotificationScheduler> scheduler);
void setMessageScreens(LinuxPlatformOptions& options, MessageScreens& screens);

/// Lets go of everything that was registered, tasks that wait on the main queue included.
void releaseCallbacks();

/// Stands between the library's threads and the runtime of the host.
///
/// Thread safety: any thread may make an entry.
class Gate {
 public:
  /// The runtime ends: waits, some seconds at most, for the calls that are inside, and lets none in any more.
  /// Not while holding a lock that they need.
  static void close();
  /// Names what a thread does when it makes an entry, each time; for runtimes that want their threads
  /// prepared.
  static void setPreparation(void (*prepare)());

  class Entry {
   public:
    Entry();
    ~Entry();
    Entry(const Entry&) = delete;
    Entry& operator=(const Entry&) = delete;
    explicit operator bool() const noexcept { return isInside_; }

   private:
    bool isInside_;
  };
};

}  // namespace lumora::bindings
