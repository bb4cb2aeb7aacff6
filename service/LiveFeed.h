#pragma once

#include <condition_variable>
#include <cstdint>
#include <deque>
#include <string>
#include <string_view>

#include "lumora/Platform/Mutex.h"
#include "service/AccountsFile.h"

namespace lumora::service {

/// What happens, as server-sent events for any number of readers. The last messages are kept, so that a
/// reader who was away for a moment goes on where he was. Any thread.
class LiveFeed {
 public:
  LiveFeed();

  void tell(std::string_view type, const JSON& data);

  /// The number of the last message; numbers grow from one run of the program to the next.
  std::uint64_t last() const;

  struct Messages {
    /// As they go to the reader; empty when there are none.
    std::string text;
    /// The number to ask with next time.
    std::uint64_t last = 0;
    bool hasEnded = false;
  };
  /// Those after the given number; waits for one, a second at most. Where some are kept no more, one of type
  /// `reset` says so.
  Messages next(std::uint64_t after);

  /// Lets every reader go.
  void end();

 private:
  mutable Mutex mutex_;
  std::condition_variable_any condition_;
  std::deque<std::string> kept_ LUMORA_GUARDED_BY(mutex_);
  std::size_t keptSize_ LUMORA_GUARDED_BY(mutex_) = 0;
  std::uint64_t last_ LUMORA_GUARDED_BY(mutex_);
  bool hasEnded_ LUMORA_GUARDED_BY(mutex_) = false;
};

}  // namespace lumora::service
