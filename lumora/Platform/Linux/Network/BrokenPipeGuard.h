#pragma once

#include <signal.h>

#include <ctime>

namespace lumora {

/// Keeps a write to a pipe or a connection that nobody reads any more from ending the process. The host's own
/// handling of SIGPIPE stays as it is: while the guard lives the signal is held back on this thread alone,
/// and it is taken off before it would be let through.
class BrokenPipeGuard {
 public:
  BrokenPipeGuard() noexcept {
    ::sigemptyset(&brokenPipe_);
    ::sigaddset(&brokenPipe_, SIGPIPE);
    sigset_t pending;
    ::sigemptyset(&pending);
    ::sigpending(&pending);
    wasPending_ = ::sigismember(&pending, SIGPIPE) == 1;
    ::pthread_sigmask(SIG_BLOCK, &brokenPipe_, &previous_);
  }
  ~BrokenPipeGuard() {
    const timespec noWait{};
    if (!wasPending_) ::sigtimedwait(&brokenPipe_, nullptr, &noWait);
    ::pthread_sigmask(SIG_SETMASK, &previous_, nullptr);
  }
  BrokenPipeGuard(const BrokenPipeGuard&) = delete;
  BrokenPipeGuard& operator=(const BrokenPipeGuard&) = delete;

 private:
  sigset_t brokenPipe_{};
  sigset_t previous_{};
  bool wasPending_ = false;
};

}  // namespace lumora
