#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "lumora/Platform/Export.h"

namespace lumora {

/// A modal alert. The buttons' indexes are their places in the list, from 0.
struct Alert {
  int tag = 0;
  std::string title;
  std::string message;
  std::vector<std::string> buttons;
  /// With a value, the alert has one plain text field that holds this text at first.
  std::optional<std::string> textField;
  /// Called on the main thread with the chosen button's index and the text field's text ("" without a field).
  /// May be empty.
  std::function<void(int buttonIndex, const std::string& text)> onButton;
};

/// Shows alerts. A newer alert covers the older ones.
class LUMORA_EXPORT Alerts {
 public:
  virtual ~Alerts() = default;
  /// Main thread only; returns at once.
  virtual void show(Alert alert) = 0;
};

/// Passes everything to another presenter; a base for a host that looks at alerts on their way.
class LUMORA_EXPORT ForwardingAlerts : public Alerts {
 public:
  explicit ForwardingAlerts(Alerts& next) : next_(next) {}
  void show(Alert alert) override { next_.show(std::move(alert)); }

 private:
  Alerts& next_;
};

}  // namespace lumora
