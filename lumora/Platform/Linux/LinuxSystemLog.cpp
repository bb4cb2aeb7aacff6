#include "lumora/Platform/Linux/LinuxSystemLog.h"

#include <fcntl.h>
#include <signal.h>
#include <unistd.h>

#include <cerrno>
#include <ctime>
#include <string>
#include <utility>

namespace lumora {
namespace {

/// Keeps a write to a pipe that nobody reads any more from ending the process. The host's own handling of
/// SIGPIPE stays as it is: the signal is held back on this thread alone, and taken off before it is let
/// through.
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

void writeToStandardError(std::string_view text) {
  const BrokenPipeGuard guard;
  while (!text.empty()) {
    const ssize_t written = ::write(STDERR_FILENO, text.data(), text.size());
    if (written < 0 && errno == EINTR) continue;
    if (written <= 0) return;
    text.remove_prefix(static_cast<std::size_t>(written));
  }
}

}  // namespace

LinuxSystemLog::LinuxSystemLog(Sink sink)
    : sink_(std::move(sink)), isStandardErrorOpen_(::fcntl(STDERR_FILENO, F_GETFD) != -1) {}

void LinuxSystemLog::write(std::string_view message) {
  if (sink_) {
    sink_(message);
  } else if (isStandardErrorOpen_) {
    // Message and line feed in one call, so that the lines of several threads do not mix.
    std::string line;
    line.reserve(message.size() + 1);
    line.append(message).push_back('\n');
    writeToStandardError(line);
  }
}

}  // namespace lumora
