#pragma once

#include <atomic>
#include <chrono>

#include "lumora/Platform/Clock.h"

namespace lumora_host {

/// The real clock, moved forward by hand. Waiting still takes real time.
class AdvancingClock : public lumora::ForwardingClock {
 public:
  using ForwardingClock::ForwardingClock;

  lumora::Date now() override { return ForwardingClock::now() + std::chrono::microseconds(offset_); }
  /// Any thread.
  void advance(std::chrono::microseconds duration) { offset_ += duration.count(); }

 private:
  std::atomic<std::chrono::microseconds::rep> offset_ = 0;
};

}  // namespace lumora_host
