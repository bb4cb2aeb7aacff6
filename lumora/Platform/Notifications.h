#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "lumora/Platform/Value.h"

namespace lumora {

/// The keys of a launch-option map under which the notification that launched the application stands: a local
/// notification as a map with its user info under `kLocalNotificationUserInfoKey`, or a remote one's payload.
inline constexpr std::string_view kLaunchOptionsLocalNotificationKey =
    "UIApplicationLaunchOptionsLocalNotificationKey";
inline constexpr std::string_view kLaunchOptionsRemoteNotificationKey =
    "UIApplicationLaunchOptionsRemoteNotificationKey";
inline constexpr std::string_view kLocalNotificationUserInfoKey = "user_info";

/// A local notification for the notification center (system version 10 and newer).
struct NotificationRequest {
  std::string identifier;
  std::string categoryIdentifier;
  /// The localised text. What a payload gave instead of a text stands here as it came.
  Value body;
  Dictionary userInfo;
  int badge = 0;
  /// Seconds until it is shown; it is shown once.
  double delay = 0;
  bool defaultSound = true;
};

/// A local notification of the older service (system versions before 10), also as it is delivered.
struct LocalNotification {
  Date fireDate{};
  std::optional<std::string> alertBody;
  std::optional<Dictionary> userInfo;
  std::string category;
  /// The time zone that the fire date is meant in; empty is the system's own.
  std::string timeZone;
  bool defaultSound = false;
};

/// A person's answer to a notification of the notification center.
struct NotificationResponse {
  NotificationRequest request;
};

/// Schedules local notifications.
///
/// Thread safety: used on the main thread.
class LUMORA_EXPORT Notifications {
 public:
  virtual ~Notifications() = default;
  /// Adds a request to the notification center and calls `completion` exactly once, on any thread: with
  /// nothing on success, with the error's description on failure.
  virtual void addNotificationRequest(const NotificationRequest& request,
                                      std::function<void(std::optional<std::string> error)> completion) = 0;
  /// The older service's form; it does not report failures.
  virtual void scheduleLocalNotification(const LocalNotification& notification) = 0;
};

/// Passes everything to another service; a base for a host that looks at notifications on their way.
class LUMORA_EXPORT ForwardingNotifications : public Notifications {
 public:
  explicit ForwardingNotifications(Notifications& next) : next_(next) {}
  void addNotificationRequest(const NotificationRequest& request,
                              std::function<void(std::optional<std::string> error)> completion) override {
    next_.addNotificationRequest(request, std::move(completion));
  }
  void scheduleLocalNotification(const LocalNotification& notification) override {
    next_.scheduleLocalNotification(notification);
  }

 private:
  Notifications& next_;
};

}  // namespace lumora
