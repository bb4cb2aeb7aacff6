#pragma once

#include <sys/types.h>

#include <atomic>
#include <chrono>
#include <functional>
#include <future>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "lumora/Platform/Mutex.h"

namespace lumora::service {

/// A running program whose standard input is written to and whose output is read line by line.
class HostProcess {
 public:
  struct Listener {
    /// A line of standard output, and one of standard error. Called on a thread of the process's own.
    std::function<void(std::string line)> onOutput;
    std::function<void(std::string line)> onLog;
    /// It has ended, by a signal when `signal` is not 0. The last call.
    std::function<void(int status, int signal)> onEnd;
  };

  /// Starts it. Throws std::runtime_error.
  HostProcess(const std::vector<std::string>& words, Listener listener);
  /// Kills it if it still runs, and waits for its end.
  ~HostProcess();
  HostProcess(const HostProcess&) = delete;
  HostProcess& operator=(const HostProcess&) = delete;

  /// Returns whether the line was taken.
  bool write(std::string_view line);
  /// No more lines come: the end of its input lets a host quit.
  void closeInput();
  void kill();
  void waitForEnd(std::chrono::seconds atMost) const { ended_.wait_for(atMost); }
  bool hasEnded() const noexcept { return hasEnded_; }

 private:
  void read(int output, int log);

  const Listener listener_;
  pid_t process_ = -1;
  std::atomic<bool> hasEnded_ = false;
  std::promise<void> end_;
  const std::shared_future<void> ended_ = end_.get_future().share();
  Mutex inputMutex_;
  int input_ LUMORA_GUARDED_BY(inputMutex_) = -1;
  std::thread reader_;
};

}  // namespace lumora::service
