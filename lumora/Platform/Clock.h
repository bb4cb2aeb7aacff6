#pragma once

#include <chrono>

#include "lumora/Platform/Value.h"

namespace lumora {

/// Wall time, the device's time zone, and waiting.
///
/// Thread safety: every operation may be called from any thread.
class LUMORA_EXPORT Clock {
 public:
  virtual ~Clock() = default;
  virtual Date now() = 0;
  /// What the device's time zone adds to UTC at that moment.
  virtual std::chrono::seconds utcOffset(Date date) = 0;
  /// Blocks the calling thread for that long.
  virtual void sleepFor(std::chrono::milliseconds duration) = 0;
};

/// Passes everything to another clock; a base for a host that shifts the time.
class LUMORA_EXPORT ForwardingClock : public Clock {
 public:
  explicit ForwardingClock(Clock& next) : next_(next) {}
  Date now() override { return next_.now(); }
  std::chrono::seconds utcOffset(Date date) override { return next_.utcOffset(date); }
  void sleepFor(std::chrono::milliseconds duration) override { next_.sleepFor(duration); }

 private:
  Clock& next_;
};

}  // namespace lumora
