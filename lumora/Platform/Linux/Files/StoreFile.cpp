// A small file that processes share: reading it, its lock, replacing it, moving a corrupt one aside. What is
// in it the parsers know. It waits by the steady clock: the platform's is made beside it, not below it.
#include "lumora/Platform/Linux/Files/StoreFile.h"

#include <fcntl.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <exception>
#include <thread>
#include <utility>

#include "lumora/Platform/Linux/Host/LinuxUUIDSource.h"

namespace lumora {
namespace {

using SteadyClock = std::chrono::steady_clock;
using std::chrono::milliseconds;

constexpr milliseconds longestWait{1000};
constexpr milliseconds longestPause{16};
/// Between a file's name and what tells one that was moved aside from others.
constexpr const char* kCorruptInfix = ".corrupt-";

bool isSameFile(const struct stat& left, const struct stat& right) {
  return left.st_dev == right.st_dev && left.st_ino == right.st_ino;
}

/// Who replaces the file changes its inode; size and time tell of an editor that writes into it.
bool isUnchanged(const struct stat& left, const struct stat& right) {
  return isSameFile(left, right) && left.st_size == right.st_size &&
         left.st_mtim.tv_sec == right.st_mtim.tv_sec && left.st_mtim.tv_nsec == right.st_mtim.tv_nsec;
}

enum class LockResult { taken, busy, impossible };

LockResult waitForLock(const FileDescriptor& file, SteadyClock::time_point deadline) {
  for (milliseconds pause{1};; pause = std::min(pause * 2, longestPause)) {
    if (::flock(file.get(), LOCK_EX | LOCK_NB) == 0) return LockResult::taken;
    if (errno != EWOULDBLOCK && errno != EINTR) return LockResult::impossible;
    if (SteadyClock::now() + pause > deadline) return LockResult::busy;
    std::this_thread::sleep_for(pause);
  }
}

}  // namespace

StoreFile::StoreFile(std::string path, SystemLog* log) : path_(std::move(path)), log_(log) {}

/// Tells that the file cannot be used, once for each reason: until it has been written again.
void StoreFile::report(const std::string& reason) {
  if (log_ && reported_.insert(reason).second)
    log_->write("LumoraSDK-The file " + path_ + " cannot be used: " + reason);
}

StoreFile::State StoreFile::unreadable(int error) {
  report(reasonOf(error));
  return State::unreadable;
}

StoreLock StoreFile::notLocked(const std::string& reason) {
  report(reason);
  return {};
}

StoreFile::State StoreFile::load(const Parser& parse) {
  // Without the lock: the file is only ever replaced whole.
  if (const std::optional<State> state = tryLoad(parse)) return *state;
  // Another process may have put a good file in its place by now; only the lock's holder can tell.
  const StoreLock held = lock();
  return held.isHeld() ? loadLocked(parse) : State::unreadable;
}

StoreFile::State StoreFile::loadLocked(const Parser& parse) {
  if (const std::optional<State> state = tryLoad(parse)) return *state;
  if (!moveAside()) {
    report("it is corrupt and cannot be moved aside: " + reasonOf(errno));
    return State::unreadable;
  }
  isKnown_ = true;
  return State::absent;
}

/// Nothing when the file is there and is not what it is to be.
std::optional<StoreFile::State> StoreFile::tryLoad(const Parser& parse) {
  isKnown_ = false;
  known_ = {};
  try {
    return read(parse);
  } catch (const std::exception&) {
    return State::unreadable;  // That memory ran out says nothing against the file.
  }
}

std::optional<StoreFile::State> StoreFile::read(const Parser& parse) {
  // O_NONBLOCK: opening a pipe that lies there must not wait for its writer.
  FileDescriptor file(::open(path_.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
  if (!file.isOpen()) {
    isKnown_ = errno == ENOENT;
    return isKnown_ ? State::absent : unreadable(errno);
  }
  if (::fstat(file.get(), &knownStatus_) != 0) return unreadable(errno);
  if (!S_ISREG(knownStatus_.st_mode)) return unreadable(S_ISDIR(knownStatus_.st_mode) ? EISDIR : EINVAL);
  // Not read at all, so neither is memory spent on it.
  if (knownStatus_.st_size > static_cast<off_t>(kMaximumFileSize)) return std::nullopt;
  const std::optional<std::string> bytes = readAll(file);
  if (!bytes) return unreadable(errno);
  if (!parse(*bytes)) return std::nullopt;
  known_ = std::move(file);
  isKnown_ = true;
  return State::present;
}

bool StoreFile::isCurrent() const {
  if (!isKnown_) return false;
  struct stat status {};
  if (::stat(path_.c_str(), &status) != 0) return errno == ENOENT && !known_.isOpen();
  return known_.isOpen() && isUnchanged(status, knownStatus_);
}

StoreLock StoreFile::lock() {
  // Beside the target, so that everybody means the same lock, whichever link they came by.
  const std::string lockPath = followLinks(path_) + ".lock";
  const SteadyClock::time_point deadline =
      SteadyClock::now() + (isLockStuck_ ? milliseconds(0) : longestWait);
  for (;;) {
    if (!makeFolders(parentFolder(lockPath))) return notLocked(reasonOf(errno));
    FileDescriptor file(::open(lockPath.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600));
    if (!file.isOpen()) return notLocked(lockPath + ": " + reasonOf(errno));
    const LockResult result = waitForLock(file, deadline);
    // Who kept it for the whole wait is not waited for again, until it was free once.
    isLockStuck_ = result == LockResult::busy;
    if (result == LockResult::busy) return notLocked(lockPath + ": another process holds it");
    if (result != LockResult::taken) return notLocked(lockPath + ": " + reasonOf(errno));
    // Whoever removed the folder meanwhile took the lock file along: a lock on it would exclude nobody.
    struct stat held {};
    struct stat named {};
    if (::fstat(file.get(), &held) != 0) return {};
    if (::stat(lockPath.c_str(), &named) == 0 && isSameFile(held, named)) return StoreLock(std::move(file));
  }
}

bool StoreFile::replace(std::string_view bytes, FolderSync sync) {
  errno = EFBIG;  // Nobody could read it back.
  FileDescriptor file = bytes.size() > kMaximumFileSize ? FileDescriptor() : replaceFile(path_, bytes, sync);
  if (!file.isOpen()) {
    report(reasonOf(errno));
    return false;
  }
  // It can be used again, so what fails later is told again.
  reported_.clear();
  known_ = std::move(file);
  isKnown_ = ::fstat(known_.get(), &knownStatus_) == 0;
  return true;
}

bool StoreFile::removeMovedAside() const {
  const std::string target = followLinks(path_) + kCorruptInfix;
  const std::string folder = parentFolder(target);
  const std::string prefix = target.substr(target.rfind('/') + 1);
  const std::optional<std::vector<std::string>> names = namesIn(folder);
  if (!names) return errno == ENOENT;
  bool isClean = true;
  for (const std::string& name : *names) {
    if (name.starts_with(prefix) && ::unlink((folder + "/" + name).c_str()) != 0) isClean = false;
  }
  return isClean;
}

bool StoreFile::moveAside() {
  const std::string target = followLinks(path_);
  const std::string aside = target + kCorruptInfix + LinuxUUIDSource().randomUUID();
  if (std::rename(target.c_str(), aside.c_str()) != 0) return false;
  if (log_) log_->write("LumoraSDK-The file " + target + " is corrupt: it is kept as " + aside);
  return true;
}

}  // namespace lumora
