// A clock that only the test moves. Sleeping moves it too and returns at once, so that waits pass without
// taking time.
#include "lumora/Testing/FakeClock.h"

#include <utility>

namespace lumora::testing {

Date FakeClock::now() {
  Lock lock(mutex_);
  return now_;
}

std::chrono::seconds FakeClock::utcOffset(Date) {
  Lock lock(mutex_);
  return utcOffset_;
}

void FakeClock::sleepFor(std::chrono::milliseconds duration) {
  std::function<void(std::chrono::milliseconds)> hook;
  {
    Lock lock(mutex_);
    now_ += duration;
    hook = sleepHook_;
  }
  if (hook) hook(duration);
}

void FakeClock::setNow(Date now) {
  Lock lock(mutex_);
  now_ = now;
}

void FakeClock::advance(std::chrono::microseconds duration) {
  Lock lock(mutex_);
  now_ += duration;
}

void FakeClock::setUTCOffset(std::chrono::seconds offset) {
  Lock lock(mutex_);
  utcOffset_ = offset;
}

void FakeClock::setSleepHook(std::function<void(std::chrono::milliseconds duration)> hook) {
  Lock lock(mutex_);
  sleepHook_ = std::move(hook);
}

}  // namespace lumora::testing
