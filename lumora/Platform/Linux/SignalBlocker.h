#pragma once

#include <signal.h>

namespace lumora {

/// Blocks every signal on the calling thread while it lives. Threads that start meanwhile keep them blocked.
class SignalBlocker {
 public:
  SignalBlocker() noexcept {
    sigset_t all;
    ::sigfillset(&all);
    ::pthread_sigmask(SIG_SETMASK, &all, &previous_);
  }
  ~SignalBlocker() { ::pthread_sigmask(SIG_SETMASK, &previous_, nullptr); }
  SignalBlocker(const SignalBlocker&) = delete;
  SignalBlocker& operator=(const SignalBlocker&) = delete;

 private:
  sigset_t previous_{};
};

}  // namespace lumora
