#pragma once

#include <functional>

#include "lumora/Platform/Notifications.h"
#include "lumora/Platform/SystemLog.h"

namespace lumora {

/// Hands notifications to the host. Without a scheduler, requests fail and older notifications go nowhere,
/// with a line in the log.
class LinuxNotifications : public Notifications {
 public:
  using Completion = std::function<void(std::optional<std::string> error)>;
  using Scheduler = std::function<void(const NotificationRequest& request, Completion completion)>;
  using LocalScheduler = std::function<void(const LocalNotification& notification)>;

  LinuxNotifications(Scheduler scheduler, LocalScheduler localScheduler, SystemLog& log);
  void addNotificationRequest(const NotificationRequest& request, Completion completion) override;
  void scheduleLocalNotification(const LocalNotification& notification) override;

 private:
  const Scheduler scheduler_;
  const LocalScheduler localScheduler_;
  SystemLog& log_;
};

}  // namespace lumora
