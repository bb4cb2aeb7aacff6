#include "lumora/Platform/Linux/LinuxNotifications.h"

#include <utility>

namespace lumora {

LinuxNotifications::LinuxNotifications(Scheduler scheduler, LocalScheduler localScheduler)
    : scheduler_(std::move(scheduler)), localScheduler_(std::move(localScheduler)) {}

void LinuxNotifications::addNotificationRequest(const NotificationRequest& request, Completion completion) {
  if (scheduler_) {
    scheduler_(request, std::move(completion));
  } else if (completion) {
    completion("The host schedules no notifications.");
  }
}

void LinuxNotifications::scheduleLocalNotification(const LocalNotification& notification) {
  if (localScheduler_) localScheduler_(notification);
}

}  // namespace lumora
