#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

#include "lumora/Platform/Clock.h"
#include "lumora/Platform/Mutex.h"

namespace lumora::testing {

/// A clock that stands still until the test moves it. It begins at 2017-06-01 12:00:00 UTC, in a time zone
/// without an offset.
///
/// Thread safety: every operation may be called from any thread.
class LUMORA_EXPORT FakeClock : public Clock {
 public:
  FakeClock();
  ~FakeClock() override;
  Date now() override;
  std::chrono::seconds utcOffset(Date date) override;
  /// Advances the clock by that much and calls the hook, if there is one; does not wait.
  void sleepFor(std::chrono::milliseconds duration) override;

  /// A timer that calls back on the thread that advances the clock, with the clock at the moment that was
  /// due.
  std::unique_ptr<Timer> makeTimer(const std::function<void()>& callback) override;

  /// Sets the wall clock; for timers no time passes.
  void setNow(Date now);
  void advance(std::chrono::microseconds duration);
  /// How long it is until the next timer calls back; nothing while none is started.
  std::optional<std::chrono::milliseconds> untilNextTimer() const;
  /// The offset of every date.
  void setUTCOffset(std::chrono::seconds offset);
  /// Runs in every `sleepFor`, on the thread that sleeps, after the clock has been advanced.
  void setSleepHook(std::function<void(std::chrono::milliseconds duration)> hook);

 private:
  class FakeTimer;
  struct Timers;

  mutable Mutex mutex_;
  Date now_ LUMORA_GUARDED_BY(mutex_){std::chrono::seconds(1496318400)};
  std::chrono::seconds utcOffset_ LUMORA_GUARDED_BY(mutex_){0};
  std::function<void(std::chrono::milliseconds duration)> sleepHook_ LUMORA_GUARDED_BY(mutex_);
  /// Outlives the clock where a timer does.
  const std::shared_ptr<Timers> timers_;
};

}  // namespace lumora::testing
