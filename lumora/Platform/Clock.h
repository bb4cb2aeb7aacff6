#pragma once

#include <chrono>
#include <functional>
#include <memory>

#include "lumora/Platform/Value.h"

namespace lumora {

/// Calls back once, after a time that can be changed until then. It wakes up for nothing else.
///
/// Thread safety: every operation may be called from any thread, the destructor included; the callback runs
/// on a thread of the timer's own. Where it destroys the timer itself it still runs to its end; any other
/// thread that destroys the timer waits for it.
class LUMORA_EXPORT Timer {
 public:
  virtual ~Timer() = default;
  /// Calls back when that much time has passed. An earlier call that is still due is replaced.
  virtual void start(std::chrono::milliseconds delay) = 0;
  /// Calls back no more until it is started again. False in a forked child, which does not have the thread:
  /// there nothing is done.
  virtual bool cancel() = 0;
};

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
  /// A timer that goes by the time that passes, whatever the wall clock is set to. Null where there are none:
  /// the library then does nothing by itself.
  virtual std::unique_ptr<Timer> makeTimer(const std::function<void()>& /*callback*/) { return nullptr; }
};

/// Passes everything to another clock; a base for a host that shifts the time.
class LUMORA_EXPORT ForwardingClock : public Clock {
 public:
  explicit ForwardingClock(Clock& next) : next_(next) {}
  Date now() override { return next_.now(); }
  std::chrono::seconds utcOffset(Date date) override { return next_.utcOffset(date); }
  void sleepFor(std::chrono::milliseconds duration) override { next_.sleepFor(duration); }
  std::unique_ptr<Timer> makeTimer(const std::function<void()>& callback) override {
    return next_.makeTimer(callback);
  }

 private:
  Clock& next_;
};

}  // namespace lumora
