#pragma once

#include <sys/stat.h>

#include <functional>
#include <optional>
#include <set>
#include <string>
#include <string_view>

#include "lumora/Platform/Linux/Files/FileDescriptor.h"
#include "lumora/Platform/Linux/Files/Files.h"
#include "lumora/Platform/Linux/Files/StoreLock.h"
#include "lumora/Platform/SystemLog.h"

namespace lumora {

/// A small file that several processes share; it is read and replaced whole. Readers need no lock, who
/// replaces the file holds the lock from his last look at it on. A symbolic link stands for its target. The
/// log, if there is one, hears that the file cannot be used and why, and what became of one that was moved.
///
/// Thread safety: one thread at a time.
class StoreFile {
 public:
  enum class State { absent, present, unreadable };
  /// Takes the file's bytes in; false when they are not what the file is to hold.
  using Parser = std::function<bool(const std::string& bytes)>;

  explicit StoreFile(std::string path, SystemLog* log = nullptr);

  /// Reads the file. One that the parser refuses, or that is too large, is moved aside and counts as absent
  /// from then on. It counts as unreadable when it cannot be moved, and when memory runs out.
  State load(const Parser& parse);
  /// The same, for a caller who holds the lock.
  State loadLocked(const Parser& parse);
  /// Whether the file is still the one that was last loaded or replaced here.
  bool isCurrent() const;
  /// Waits for the lock that keeps other processes from replacing the file, and makes missing folders. The
  /// lock is not held when there can be none, or somebody else keeps it for longer than a second; who keeps
  /// it still is not waited for again.
  StoreLock lock();
  /// Removes the files that were moved aside; false when one is left.
  bool removeMovedAside() const;
  /// Replaces the file; returns false, and leaves the old one as it was, on failure. Needs the lock.
  bool replace(std::string_view bytes, FolderSync sync);

 private:
  std::optional<State> tryLoad(const Parser& parse);
  std::optional<State> read(const Parser& parse);
  bool moveAside();
  void report(const std::string& reason);
  State unreadable(int error);
  StoreLock notLocked(const std::string& reason);

  const std::string path_;
  SystemLog* const log_;
  /// Why the file could not be used, as was told since it was written last.
  std::set<std::string> reported_;
  bool isLockStuck_ = false;
  /// False until something was read or written successfully: who does not know the file never replaces it.
  bool isKnown_ = false;
  /// The file as it was last seen, closed when it was absent. It stays open so that its inode number cannot
  /// be given to another file in the meantime.
  FileDescriptor known_;
  struct stat knownStatus_ {};
};

}  // namespace lumora
