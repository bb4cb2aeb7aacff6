// Remembers what was scheduled, for both services, and answers a request at once, with the error that the
// test has set if there is one.
#include "lumora/Testing/FakeNotifications.h"

#include <utility>

namespace lumora::testing {

void FakeNotifications::addNotificationRequest(
    const NotificationRequest& request, std::function<void(std::optional<std::string> error)> completion) {
  std::optional<std::string> error;
  {
    Lock lock(mutex_);
    error = error_;
    if (!error) requests_.push_back(request);
  }
  if (completion) completion(std::move(error));
}

void FakeNotifications::scheduleLocalNotification(const LocalNotification& notification) {
  Lock lock(mutex_);
  localNotifications_.push_back(notification);
}

void FakeNotifications::setError(std::optional<std::string> description) {
  Lock lock(mutex_);
  error_ = std::move(description);
}

std::vector<NotificationRequest> FakeNotifications::requests() const {
  Lock lock(mutex_);
  return requests_;
}

std::vector<LocalNotification> FakeNotifications::localNotifications() const {
  Lock lock(mutex_);
  return localNotifications_;
}

}  // namespace lumora::testing
