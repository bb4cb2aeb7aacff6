// Alerts go to the host's presenter. Without one they end in the log, so that a person at a terminal sees
// them at least; nobody presses a button then.
#include "lumora/Platform/Linux/Host/LinuxAlerts.h"

#include <fmt/format.h>

#include <utility>

#include "lumora/Platform/Texts.h"

namespace lumora {

LinuxAlerts::LinuxAlerts(Presenter presenter, SystemLog& log) : presenter_(std::move(presenter)), log_(log) {}

void LinuxAlerts::show(Alert alert) {
  if (presenter_) {
    presenter_(std::move(alert));
  } else {
    log_.write(fmt::format("Alert: {}: {} [{}]", alert.title, alert.message, joined(alert.buttons, "] [")));
  }
}

}  // namespace lumora
