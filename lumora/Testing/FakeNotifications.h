#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "lumora/Platform/Mutex.h"
#include "lumora/Platform/Notifications.h"

namespace lumora::testing {

/// Remembers the notifications that are scheduled.
///
/// Thread safety: every operation may be called from any thread.
class LUMORA_EXPORT FakeNotifications : public Notifications {
 public:
  /// Calls the completion before it returns.
  void addNotificationRequest(const NotificationRequest& request,
                              std::function<void(std::optional<std::string> error)> completion) override;
  void scheduleLocalNotification(const LocalNotification& notification) override;

  /// Makes requests fail with this description; nothing lets them succeed again. A failed one is not kept.
  void setError(std::optional<std::string> description);
  std::vector<NotificationRequest> requests() const;
  std::vector<LocalNotification> localNotifications() const;

 private:
  mutable Mutex mutex_;
  std::optional<std::string> error_ LUMORA_GUARDED_BY(mutex_);
  std::vector<NotificationRequest> requests_ LUMORA_GUARDED_BY(mutex_);
  std::vector<LocalNotification> localNotifications_ LUMORA_GUARDED_BY(mutex_);
};

}  // namespace lumora::testing
