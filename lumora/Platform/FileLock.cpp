// Waits for a file's lock by trying again; the lock itself is the platform's SharedFiles' to take. Time is
// counted by pauses, so that a clock that is set meanwhile neither ends nor prolongs the wait.
#include "lumora/Platform/FileLock.h"

#include <algorithm>
#include <utility>

#include "lumora/Platform/Platform.h"

namespace lumora {
namespace {

FileLockState waitForLock(const std::string& path, std::chrono::milliseconds limit) {
  constexpr std::chrono::milliseconds pause(20);
  for (std::chrono::milliseconds waited(0);; waited += pause) {
    const FileLockState state = platform().sharedFiles.tryLock(path);
    if (state != FileLockState::busy || waited >= limit) return state;
    platform().clock.sleepFor(pause);
  }
}

}  // namespace

std::chrono::milliseconds longestWait(std::chrono::milliseconds limit) {
  return platform().queues.isMainThread() ? std::min(limit, kLongestMainThreadWait) : limit;
}

FileLock::FileLock(std::string path, std::chrono::milliseconds limit)
    : path_(std::move(path)), state_(waitForLock(path_, longestWait(limit))) {}

FileLock::~FileLock() {
  if (state_ == FileLockState::taken) platform().sharedFiles.unlock(path_);
}

}  // namespace lumora
