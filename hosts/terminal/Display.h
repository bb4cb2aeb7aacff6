#pragma once

#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "hosts/terminal/Output.h"
#include "lumora/Platform/Alerts.h"
#include "lumora/Platform/Notifications.h"
#include "lumora/Platform/URL.h"

namespace lumora_host {

/// What the person sees and can answer, but for message screens: each thing shown is one line of output. Main
/// thread only.
class Display {
 public:
  /// A notification in the form in which it was scheduled.
  using ScheduledNotification = std::variant<lumora::NotificationRequest, lumora::LocalNotification>;

  explicit Display(Output& output) : output_(output) {}

  void show(lumora::Alert alert);
  /// The newest alert that is still shown; null when none is.
  const lumora::Alert* topAlert() const { return alerts_.empty() ? nullptr : &alerts_.back(); }
  /// Takes the newest alert away and presses its button. Its text field holds `text` when given.
  void answerTopAlert(int buttonIndex, const std::optional<std::string>& text);

  void schedule(const lumora::NotificationRequest& request);
  void schedule(const lumora::LocalNotification& notification);
  /// Nothing when none was scheduled.
  const std::optional<ScheduledNotification>& lastScheduled() const { return lastScheduled_; }

  /// Refuses the scheme `refuse`, and gives false then.
  bool open(const lumora::URL& url);

 private:
  Output& output_;
  std::vector<lumora::Alert> alerts_;
  std::optional<ScheduledNotification> lastScheduled_;
};

}  // namespace lumora_host
