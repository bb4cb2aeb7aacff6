#pragma once

#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <utility>

namespace lumora::testing {

/// A copy of the test's process that does one piece of work and ends. It must not start with threads running.
class ChildProcess {
 public:
  template <typename Work>
  explicit ChildProcess(Work&& work) : id_(::fork()) {
    if (id_ == 0) ::_exit(std::forward<Work>(work)() ? 0 : 1);
  }
  ~ChildProcess() {
    if (isRunning_) kill();
  }
  ChildProcess(const ChildProcess&) = delete;
  ChildProcess& operator=(const ChildProcess&) = delete;

  /// Waits for its end; whether it ended by itself and its work gave true.
  bool succeeds() {
    const int status = wait();
    return WIFEXITED(status) && WEXITSTATUS(status) == 0;
  }

  /// Ends it in the middle of whatever it does.
  void kill() {
    ::kill(id_, SIGKILL);
    wait();
  }

 private:
  int wait() {
    int status = -1;
    ::waitpid(id_, &status, 0);
    isRunning_ = false;
    return status;
  }

  const pid_t id_;
  bool isRunning_ = true;
};

}  // namespace lumora::testing
