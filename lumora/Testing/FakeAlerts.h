#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "lumora/Platform/Alerts.h"
#include "lumora/Platform/Mutex.h"

namespace lumora::testing {

/// Keeps the alerts that are shown until the test answers them.
///
/// Thread safety: every operation may be called from any thread.
class LUMORA_EXPORT FakeAlerts : public Alerts {
 public:
  void show(Alert alert) override;

  /// The alerts on display, the newest last.
  std::vector<Alert> shown() const;
  /// Takes the newest alert off the display and presses one of its buttons, with that text in its field (what
  /// the field held at first, without one). Returns false when no alert is shown.
  bool answer(int buttonIndex, const std::optional<std::string>& text = std::nullopt);

 private:
  mutable Mutex mutex_;
  std::vector<Alert> shown_ LUMORA_GUARDED_BY(mutex_);
};

}  // namespace lumora::testing
