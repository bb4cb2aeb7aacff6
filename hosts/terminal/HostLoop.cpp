// One loop for input, signals and the main queue. What a line means is for CommandRunner to say; lines are
// cut by LineReader.
#include "hosts/terminal/HostLoop.h"

#include <poll.h>

#include <array>
#include <cstddef>

namespace lumora_host {

using std::chrono::microseconds;

HostLoop::HostLoop(int input, lumora::LinuxMainQueue& mainQueue, lumora::LinuxTaskQueues& queues,
                   const TerminationSignals& signals)
    : lines_(input), mainQueue_(mainQueue), queues_(queues), signals_(signals) {}

std::optional<std::string> HostLoop::nextLine() {
  // What waits on the main queue comes before the next line, also before one that has arrived.
  wait(Input::ignored, microseconds(0));
  while (!isTerminated_) {
    if (auto line = lines_.takeLine()) return line;
    if (lines_.hasEnded()) return std::nullopt;
    wait(Input::awaited, std::nullopt);
  }
  return std::nullopt;
}

void HostLoop::runFor(microseconds duration) {
  using Clock = std::chrono::steady_clock;
  const auto end = Clock::now() + duration;
  for (auto now = Clock::now(); now < end && !isTerminated_; now = Clock::now()) {
    wait(Input::ignored, std::chrono::ceil<microseconds>(end - now));
  }
}

void HostLoop::drain(std::span<lumora::TaskQueue* const> serialQueues) {
  mainQueue_.runPending();
  while (!isTerminated_) {
    const bool areSerialQueuesIdle = queues_.areSerialQueuesIdle();
    if (areSerialQueuesIdle && mainQueue_.isIdle()) return;
    if (!areSerialQueuesIdle && markersUnderway_ == 0) sendMarkers(serialQueues);
    wait(Input::ignored, std::nullopt);
  }
}

void HostLoop::sendMarkers(std::span<lumora::TaskQueue* const> serialQueues) {
  markersUnderway_ = serialQueues.size();
  for (lumora::TaskQueue* queue : serialQueues) {
    queue->async([this] { mainQueue_.async([this] { --markersUnderway_; }); });
  }
}

void HostLoop::wait(Input input, std::optional<microseconds> timeout) {
  std::array<pollfd, 3> descriptors{pollfd{mainQueue_.descriptor(), POLLIN, 0},
                                    pollfd{signals_.descriptor(), POLLIN, 0},
                                    pollfd{lines_.descriptor(), POLLIN, 0}};
  const nfds_t count = input == Input::awaited ? 3 : 2;
  timespec limit{};
  if (timeout) {
    const auto seconds = std::chrono::floor<std::chrono::seconds>(*timeout);
    limit.tv_sec = seconds.count();
    limit.tv_nsec = std::chrono::nanoseconds(*timeout - seconds).count();
  }
  if (ppoll(descriptors.data(), count, timeout ? &limit : nullptr, nullptr) > 0) {
    isTerminated_ = isTerminated_ || descriptors[1].revents != 0;
    if (count == 3 && descriptors[2].revents != 0) lines_.fill();
  }
  mainQueue_.runPending();
}

}  // namespace lumora_host
