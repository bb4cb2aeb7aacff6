// Notifications go to the host's schedulers: one for the notification center, one for the older service.
// Which of them a notification takes is LumoraPush.cpp's to say; without one a line in the log is all.
#include "lumora/Platform/Linux/Host/LinuxNotifications.h"

#include <string>
#include <utility>

namespace lumora {
namespace {

constexpr const char* kNoScheduler = "The host schedules no notifications.";

}  // namespace

LinuxNotifications::LinuxNotifications(Scheduler scheduler, LocalScheduler localScheduler, SystemLog& log)
    : scheduler_(std::move(scheduler)), localScheduler_(std::move(localScheduler)), log_(log) {}

void LinuxNotifications::addNotificationRequest(const NotificationRequest& request, Completion completion) {
  if (scheduler_) {
    scheduler_(request, std::move(completion));
  } else if (completion) {
    completion(kNoScheduler);  // The caller logs it.
  }
}

void LinuxNotifications::scheduleLocalNotification(const LocalNotification& notification) {
  if (localScheduler_) {
    localScheduler_(notification);
  } else {
    log_.write(std::string("LumoraSDK-") + kNoScheduler);
  }
}

}  // namespace lumora
