// SIGTERM and SIGINT as a descriptor that HostLoop waits for, so that the host ends between two commands and
// by `exit`.
#include "hosts/terminal/TerminationSignals.h"

#include <sys/signalfd.h>
#include <unistd.h>

#include <csignal>

namespace lumora_host {

TerminationSignals::TerminationSignals() {
  sigset_t signals;
  sigemptyset(&signals);
  sigaddset(&signals, SIGTERM);
  sigaddset(&signals, SIGINT);
  pthread_sigmask(SIG_BLOCK, &signals, nullptr);
  descriptor_ = signalfd(-1, &signals, SFD_CLOEXEC | SFD_NONBLOCK);
}

TerminationSignals::~TerminationSignals() {
  ::close(descriptor_);
}

}  // namespace lumora_host
