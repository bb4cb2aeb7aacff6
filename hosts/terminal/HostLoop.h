#pragma once

#include <chrono>
#include <cstddef>
#include <optional>
#include <span>
#include <string>

#include "hosts/terminal/CommandLine/LineReader.h"
#include "hosts/terminal/TerminationSignals.h"
#include "lumora/Platform/Linux/LinuxTaskQueues.h"

namespace lumora_host {

/// The main thread's loop: input lines and the main queue in turn. Main thread only; lives until the process
/// ends.
class HostLoop {
 public:
  HostLoop(int input, lumora::LinuxMainQueue& mainQueue, lumora::LinuxTaskQueues& queues,
           const TerminationSignals& signals);

  /// Runs the main queue until a line has come. Gives nothing at the end of the input and after a
  /// termination signal.
  std::optional<std::string> nextLine();
  /// Runs the main queue for that long.
  void runFor(std::chrono::microseconds duration);
  /// Runs the main queue until it and the serial queues have nothing left. `serialQueues` are the ones that
  /// may have work.
  void drain(std::span<lumora::TaskQueue* const> serialQueues);
  /// Whether a termination signal was seen; `runFor` and `drain` return early then.
  bool isTerminated() const { return isTerminated_; }

 private:
  enum class Input { ignored, awaited };

  /// Waits for the main queue, a signal, or input; then runs the main queue. No time-out: without end.
  void wait(Input input, std::optional<std::chrono::microseconds> timeout);

  /// Sends a task through each serial queue that comes back through the main queue, and so ends a wait.
  void sendMarkers(std::span<lumora::TaskQueue* const> serialQueues);

  LineReader lines_;
  lumora::LinuxMainQueue& mainQueue_;
  lumora::LinuxTaskQueues& queues_;
  const TerminationSignals& signals_;
  bool isTerminated_ = false;
  /// The next markers are sent when all are back, so that a busy queue is not asked over and over.
  std::size_t markersUnderway_ = 0;
};

}  // namespace lumora_host
