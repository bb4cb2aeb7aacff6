#pragma once

#include "lumora/Platform/SharedFiles.h"

namespace lumora {

/// Shared files on Linux. Locks are POSIX record locks, which belong to the process, not to a descriptor: the
/// table of those that this process holds is one for all objects of this class.
class LinuxSharedFiles : public SharedFiles {
 public:
  std::optional<std::string> makeFolder(const std::string& path) override;
  std::optional<std::string> makePrivateFile(const std::string& path) override;
  std::optional<std::string> moveAside(const std::string& path, const std::string& newPath) override;
  FileLockState tryLock(const std::string& path) override;
  void unlock(const std::string& path) override;
  bool sharesMemory(const std::string& path) override;
};

}  // namespace lumora
