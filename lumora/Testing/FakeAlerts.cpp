// Alerts that wait until the test answers them, the newest first. An answer is given without the lock, since
// its handler may show the next alert.
#include "lumora/Testing/FakeAlerts.h"

#include <utility>

namespace lumora::testing {

void FakeAlerts::show(Alert alert) {
  Lock lock(mutex_);
  shown_.push_back(std::move(alert));
}

std::vector<Alert> FakeAlerts::shown() const {
  Lock lock(mutex_);
  return shown_;
}

bool FakeAlerts::answer(int buttonIndex, const std::optional<std::string>& text) {
  Alert alert;
  {
    Lock lock(mutex_);
    if (shown_.empty()) return false;
    alert = std::move(shown_.back());
    shown_.pop_back();
  }
  const std::string content = alert.textField ? text.value_or(*alert.textField) : "";
  if (alert.onButton) alert.onButton(buttonIndex, content);
  return true;
}

}  // namespace lumora::testing
