// A clock that only the test moves. Sleeping moves it too and returns at once, so that waits pass without
// taking time.
#include "lumora/Testing/FakeClock.h"

#include <algorithm>
#include <utility>

namespace lumora::testing {

/// The timers that are started, by the time that has passed when they are due.
struct FakeClock::Timers {
  using Time = std::chrono::microseconds;
  struct Entry {
    const FakeTimer* timer;
    Time due;
    std::function<void()> callback;
  };

  void remove(const FakeTimer* timer) {
    Lock lock(mutex);
    std::erase_if(entries, [timer](const Entry& entry) { return entry.timer == timer; });
  }

  /// Takes out the first that is due by then, and moves the time on to it.
  std::optional<Entry> takeDue(Time end) {
    Lock lock(mutex);
    const auto first = std::ranges::min_element(entries, {}, &Entry::due);
    if (first == entries.end() || first->due > end) return std::nullopt;
    Entry entry = std::move(*first);
    entries.erase(first);
    passed = std::max(passed, entry.due);
    return entry;
  }

  Mutex mutex;
  Time passed LUMORA_GUARDED_BY(mutex){0};
  std::vector<Entry> entries LUMORA_GUARDED_BY(mutex);
};

class FakeClock::FakeTimer : public Timer {
 public:
  FakeTimer(std::shared_ptr<Timers> timers, std::function<void()> callback)
      : timers_(std::move(timers)), callback_(std::move(callback)) {}
  ~FakeTimer() override { timers_->remove(this); }
  FakeTimer(const FakeTimer&) = delete;
  FakeTimer& operator=(const FakeTimer&) = delete;

  void start(std::chrono::milliseconds delay) override {
    timers_->remove(this);
    Lock lock(timers_->mutex);
    timers_->entries.push_back({this, timers_->passed + delay, callback_});
  }
  bool cancel() override {
    timers_->remove(this);
    return true;
  }

 private:
  const std::shared_ptr<Timers> timers_;
  const std::function<void()> callback_;
};

FakeClock::FakeClock() : timers_(std::make_shared<Timers>()) {}

FakeClock::~FakeClock() = default;

std::unique_ptr<Timer> FakeClock::makeTimer(const std::function<void()>& callback) {
  return std::make_unique<FakeTimer>(timers_, callback);
}

std::optional<std::chrono::milliseconds> FakeClock::untilNextTimer() const {
  Lock lock(timers_->mutex);
  const auto first = std::ranges::min_element(timers_->entries, {}, &Timers::Entry::due);
  if (first == timers_->entries.end()) return std::nullopt;
  return std::chrono::ceil<std::chrono::milliseconds>(first->due - timers_->passed);
}

Date FakeClock::now() {
  Lock lock(mutex_);
  return now_;
}

std::chrono::seconds FakeClock::utcOffset(Date) {
  Lock lock(mutex_);
  return utcOffset_;
}

void FakeClock::sleepFor(std::chrono::milliseconds duration) {
  advance(duration);
  std::function<void(std::chrono::milliseconds)> hook;
  {
    Lock lock(mutex_);
    hook = sleepHook_;
  }
  if (hook) hook(duration);
}

void FakeClock::setNow(Date now) {
  Lock lock(mutex_);
  now_ = now;
}

void FakeClock::advance(std::chrono::microseconds duration) {
  Timers::Time before{0};
  Timers::Time end{0};
  {
    Lock lock(timers_->mutex);
    before = timers_->passed;
    end = before + duration;
  }
  const auto moveTo = [this, &before](Timers::Time moment) {
    Lock lock(mutex_);
    now_ += moment - std::exchange(before, moment);
  };
  while (const auto due = timers_->takeDue(end)) {
    moveTo(std::max(before, due->due));
    due->callback();
  }
  moveTo(end);
  Lock lock(timers_->mutex);
  timers_->passed = std::max(timers_->passed, end);
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
