#pragma once

#include <signal.h>

namespace lumora {

/// Blocks signals on the calling thread while it lives. Threads that start meanwhile keep them blocked.
/// Signals that a thread's own fault raises are let through, so that the host's crash reporter sees them.
class SignalBlocker {
 public:
  SignalBlocker() noexcept {
    sigset_t signals;
    ::sigfillset(&signals);
    for (const int fault : {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGABRT, SIGTRAP, SIGSYS})
      ::sigdelset(&signals, fault);
    ::pthread_sigmask(SIG_SETMASK, &signals, &previous_);
  }
  ~SignalBlocker() { ::pthread_sigmask(SIG_SETMASK, &previous_, nullptr); }
  SignalBlocker(const SignalBlocker&) = delete;
  SignalBlocker& operator=(const SignalBlocker&) = delete;

 private:
  sigset_t previous_{};
};

}  // namespace lumora
