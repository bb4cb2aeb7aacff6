#pragma once

#include <sys/file.h>

#include <utility>

#include "lumora/Platform/Linux/Files/FileDescriptor.h"

namespace lumora {

/// A lock on a file that other processes respect (flock). It ends with this object.
class StoreLock {
 public:
  /// Holds nothing.
  StoreLock() noexcept = default;
  /// Takes over a file that is locked.
  explicit StoreLock(FileDescriptor locked) noexcept : file_(std::move(locked)) {}
  StoreLock(StoreLock&&) noexcept = default;
  StoreLock& operator=(StoreLock&&) = delete;
  ~StoreLock() {
    // Closing would not do: a process that was forked meanwhile has the file open too.
    if (isHeld()) ::flock(file_.get(), LOCK_UN);
  }

  bool isHeld() const noexcept { return file_.isOpen(); }

 private:
  FileDescriptor file_;
};

}  // namespace lumora
