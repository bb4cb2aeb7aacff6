#pragma once

#include <sys/stat.h>

#include <functional>
#include <string>
#include <string_view>

#include "lumora/Platform/Linux/FileDescriptor.h"

namespace lumora {

/// A small file that several processes share; it is read and replaced whole. Readers need no lock, who
/// replaces the file holds the lock from his last look at it on.
///
/// Thread safety: one thread at a time.
class StoreFile {
 public:
  enum class State { absent, present, unreadable };
  /// Takes the file's bytes in; false when they are not what the file is to hold.
  using Parser = std::function<bool(const std::string& bytes)>;

  explicit StoreFile(std::string path);

  /// Reads the file. One that the parser refuses is moved aside and counts as absent from then on; when it
  /// cannot be moved, it counts as unreadable.
  State load(const Parser& parse);
  /// The same, for a caller who holds the lock.
  State loadLocked(const Parser& parse);
  /// Whether the file is still the one that was last loaded or replaced here.
  bool isCurrent() const;
  /// Waits for the lock that keeps other processes from replacing the file, makes missing folders, and holds
  /// the lock until the descriptor is closed. Gives a closed one when there can be no lock.
  FileDescriptor lock() const;
  /// Replaces the file; returns false, and leaves the old one as it was, on failure. Needs the lock.
  bool replace(std::string_view bytes);

 private:
  struct Contents {
    State state;
    std::string bytes;
  };

  Contents read();
  bool moveAside();
  State remember(FileDescriptor file, State state);

  const std::string path_;
  bool isKnown_ = false;
  /// The file as it was last seen, closed when it was absent. It stays open so that its inode number cannot
  /// be given to another file in the meantime.
  FileDescriptor known_;
  struct stat knownStatus_ {};
};

}  // namespace lumora
