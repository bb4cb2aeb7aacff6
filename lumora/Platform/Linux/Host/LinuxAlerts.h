#pragma once

#include <functional>

#include "lumora/Platform/Alerts.h"
#include "lumora/Platform/SystemLog.h"

namespace lumora {

/// Hands alerts to the host; without a presenter they are written to the log, and nobody answers them.
class LinuxAlerts : public Alerts {
 public:
  using Presenter = std::function<void(Alert alert)>;

  LinuxAlerts(Presenter presenter, SystemLog& log);
  void show(Alert alert) override;

 private:
  const Presenter presenter_;
  SystemLog& log_;
};

}  // namespace lumora
