#pragma once

#include <functional>
#include <memory>

#include "lumora/Platform/Clock.h"

namespace lumora {

/// A timer with one thread, which begins with the first start and sleeps, without waking up, until a call is
/// due. It goes by the monotonic clock.
class LinuxTimer : public Timer {
 public:
  explicit LinuxTimer(std::function<void()> callback);
  ~LinuxTimer() override;
  LinuxTimer(const LinuxTimer&) = delete;
  LinuxTimer& operator=(const LinuxTimer&) = delete;

  void start(std::chrono::milliseconds delay) override;
  bool cancel() override;

 private:
  struct State;
  /// Shared with the thread, which may be the last to let go of it.
  std::shared_ptr<State> state_;
};

}  // namespace lumora
