#pragma once

#include "lumora/Platform/Clock.h"

namespace lumora {

/// The system's clock and the process's time zone.
class LinuxClock : public Clock {
 public:
  Date now() override;
  std::chrono::seconds utcOffset(Date date) override;
  void sleepFor(std::chrono::milliseconds duration) override;
  std::unique_ptr<Timer> makeTimer(const std::function<void()>& callback) override;
};

}  // namespace lumora
