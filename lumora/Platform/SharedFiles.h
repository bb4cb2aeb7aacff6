#pragma once

#include <optional>
#include <string>

#include "lumora/Platform/Export.h"

namespace lumora {

/// How an attempt to take a file's lock ended.
enum class FileLockState {
  /// The caller holds it until it unlocks, or until its process ends, however that comes about.
  taken,
  /// Another process holds it, or another caller in this one: a later attempt may succeed.
  busy,
  /// There can be no lock there: the folder cannot be written, or its file system has no locks. Another
  /// attempt gives the same as long as that does not change, so waiting is in vain.
  unsupported,
};

/// What files need that several processes use at once: folders and files for their owner alone, a place for a
/// broken file, locks between processes, and whether they share memory.
///
/// Paths are absolute. Thread safety: every operation may be called from any thread. No operation waits.
/// Operations that give a text give nothing on success, else the reason, as a text for people.
class LUMORA_EXPORT SharedFiles {
 public:
  virtual ~SharedFiles() = default;
  /// Makes a folder, and those above it that are missing, for their owner alone; one that is there stays as
  /// it is.
  virtual std::optional<std::string> makeFolder(const std::string& path) = 0;
  /// Makes a file its owner's alone: an empty one where there is none, else its content stays and only its
  /// rights change. Never opens a file that is there: closing it would drop the locks that the process holds
  /// on it.
  virtual std::optional<std::string> makePrivateFile(const std::string& path) = 0;
  /// Renames a file or a folder, within its folder. Never replaces another one: a path that is taken is a
  /// failure, and so is a file that is missing.
  virtual std::optional<std::string> moveAside(const std::string& path, const std::string& newPath) = 0;
  /// Tries to take the lock that the file at the path stands for; the file, and its folder, are made when
  /// missing, and stay. The lock keeps out other processes and every other caller in this process, the same
  /// thread included. It belongs to the process: a child made by `fork` does not have it, and it is free as
  /// soon as its process has ended, killed or not. A lock whose file has been deleted keeps nobody out.
  /// The file is for the lock alone; who opens and closes it by other means may drop the lock.
  virtual FileLockState tryLock(const std::string& path) = 0;
  /// Gives back a lock that `tryLock` took for the path.
  virtual void unlock(const std::string& path) = 0;
  /// Whether processes that map the file at the path, or one beside it, share its memory. Not so on a
  /// network's file system, where they may run on different machines, nor on one that a program serves.
  virtual bool sharesMemory(const std::string& path) = 0;
};

/// Passes everything to other shared files; a base for a host that replaces a single operation.
class LUMORA_EXPORT ForwardingSharedFiles : public SharedFiles {
 public:
  explicit ForwardingSharedFiles(SharedFiles& next) : next_(next) {}
  std::optional<std::string> makeFolder(const std::string& path) override { return next_.makeFolder(path); }
  std::optional<std::string> makePrivateFile(const std::string& path) override {
    return next_.makePrivateFile(path);
  }
  std::optional<std::string> moveAside(const std::string& path, const std::string& newPath) override {
    return next_.moveAside(path, newPath);
  }
  FileLockState tryLock(const std::string& path) override { return next_.tryLock(path); }
  void unlock(const std::string& path) override { next_.unlock(path); }
  bool sharesMemory(const std::string& path) override { return next_.sharesMemory(path); }

 private:
  SharedFiles& next_;
};

}  // namespace lumora
