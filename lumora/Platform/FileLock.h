#pragma once

#include <chrono>
#include <string>

#include "lumora/Platform/Export.h"
#include "lumora/Platform/SharedFiles.h"

namespace lumora {

/// The longest that the main thread waits for another process or for a lock between processes.
constexpr std::chrono::milliseconds kLongestMainThreadWait{200};

/// The time that the calling thread may wait out of a limit: all of it, save on the main thread.
LUMORA_EXPORT std::chrono::milliseconds longestWait(std::chrono::milliseconds limit);

/// Holds the lock of a file, against other processes and other threads, for the length of a scope.
///
///     const FileLock lock(path, std::chrono::seconds(15));
///     if (lock.state() == FileLockState::busy) return;
///
/// While it is busy the lock is tried again, every 20 ms by the platform's clock, until the limit is over; a
/// limit of zero tries once. On the main thread a limit of more than 0.2 s counts as 0.2 s. The caller must
/// hold nothing meanwhile that the main thread waits for. It is not re-entrant: a second one for the same
/// path on the same thread is busy.
class LUMORA_EXPORT FileLock {
 public:
  FileLock(std::string path, std::chrono::milliseconds limit);
  ~FileLock();
  FileLock(const FileLock&) = delete;
  FileLock& operator=(const FileLock&) = delete;

  /// `taken`: held to the end of the scope. `busy`: not held, the limit is over. `unsupported`: not held, and
  /// nobody can hold it.
  FileLockState state() const noexcept { return state_; }

 private:
  const std::string path_;
  FileLockState state_;
};

}  // namespace lumora
