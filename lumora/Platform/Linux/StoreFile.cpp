#include "lumora/Platform/Linux/StoreFile.h"

#include <fcntl.h>
#include <sys/file.h>

#include <cerrno>
#include <cstdio>
#include <optional>
#include <utility>

#include "lumora/Platform/Linux/Files.h"
#include "lumora/Platform/Linux/LinuxUUIDSource.h"

namespace lumora {
namespace {

bool isSameFile(const struct stat& left, const struct stat& right) {
  return left.st_dev == right.st_dev && left.st_ino == right.st_ino;
}

bool isUnchanged(const struct stat& left, const struct stat& right) {
  return isSameFile(left, right) && left.st_size == right.st_size &&
         left.st_mtim.tv_sec == right.st_mtim.tv_sec && left.st_mtim.tv_nsec == right.st_mtim.tv_nsec;
}

bool waitForLock(const FileDescriptor& file) {
  while (::flock(file.get(), LOCK_EX) != 0) {
    if (errno != EINTR) return false;
  }
  return true;
}

}  // namespace

StoreFile::StoreFile(std::string path) : path_(std::move(path)) {}

StoreFile::State StoreFile::load(const Parser& parse) {
  const Contents contents = read();
  if (contents.state != State::present || parse(contents.bytes)) return contents.state;
  // Another process may have put a good file in its place by now; only the lock's holder can tell.
  const FileDescriptor held = lock();
  return held.isOpen() ? loadLocked(parse) : State::unreadable;
}

StoreFile::State StoreFile::loadLocked(const Parser& parse) {
  const Contents contents = read();
  if (contents.state != State::present || parse(contents.bytes)) return contents.state;
  return moveAside() ? remember({}, State::absent) : State::unreadable;
}

StoreFile::Contents StoreFile::read() {
  isKnown_ = false;
  // O_NONBLOCK: opening a pipe that lies there must not wait for its writer.
  FileDescriptor file(::open(path_.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
  if (!file.isOpen()) return {errno == ENOENT ? remember({}, State::absent) : State::unreadable, {}};
  struct stat status {};
  if (::fstat(file.get(), &status) != 0 || !S_ISREG(status.st_mode)) return {State::unreadable, {}};
  std::optional<std::string> bytes = readAll(file);
  if (!bytes) return {State::unreadable, {}};
  return {remember(std::move(file), State::present), std::move(*bytes)};
}

StoreFile::State StoreFile::remember(FileDescriptor file, State state) {
  known_ = std::move(file);
  isKnown_ = !known_.isOpen() || ::fstat(known_.get(), &knownStatus_) == 0;
  return state;
}

bool StoreFile::isCurrent() const {
  if (!isKnown_) return false;
  struct stat status {};
  if (::stat(path_.c_str(), &status) != 0) return errno == ENOENT && !known_.isOpen();
  return known_.isOpen() && isUnchanged(status, knownStatus_);
}

FileDescriptor StoreFile::lock() const {
  const std::string lockPath = path_ + ".lock";
  for (;;) {
    if (!makeFolders(parentFolder(path_))) return {};
    FileDescriptor file(::open(lockPath.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600));
    if (!file.isOpen() || !waitForLock(file)) return {};
    // Whoever removed the folder meanwhile took the lock file along: a lock on it would exclude nobody.
    struct stat held {};
    struct stat named {};
    if (::fstat(file.get(), &held) != 0) return {};
    if (::stat(lockPath.c_str(), &named) == 0 && isSameFile(held, named)) return file;
  }
}

bool StoreFile::replace(std::string_view bytes) {
  FileDescriptor file = replaceFile(path_, bytes);
  if (!file.isOpen()) return false;
  remember(std::move(file), State::present);
  return true;
}

bool StoreFile::moveAside() {
  const std::string aside = path_ + ".corrupt-" + LinuxUUIDSource().randomUUID();
  return std::rename(path_.c_str(), aside.c_str()) == 0;
}

}  // namespace lumora
