#pragma once

#include <atomic>
#include <functional>
#include <set>
#include <string>

#include "lumora/Platform/Mutex.h"
#include "lumora/Platform/SharedFiles.h"

namespace lumora::testing {

/// Real folders and files, and locks that live in memory: the test plays the other process.
///
/// Thread safety: every operation may be called from any thread.
class LUMORA_EXPORT FakeSharedFiles : public SharedFiles {
 public:
  std::optional<std::string> makeFolder(const std::string& path) override;
  std::optional<std::string> makePrivateFile(const std::string& path) override;
  std::optional<std::string> moveAside(const std::string& path, const std::string& newPath) override;
  FileLockState tryLock(const std::string& path) override;
  void unlock(const std::string& path) override;
  bool sharesMemory(const std::string& path) override;

  /// Makes folders, private files and moves fail, or work again.
  void setFails(bool fails) { fails_ = fails; }
  /// Makes every lock unsupported, or possible again.
  void setLocksUnsupported(bool unsupported) { locksUnsupported_ = unsupported; }
  /// Makes processes share no memory, or share it again.
  void setSharesMemory(bool shares) { sharesMemory_ = shares; }
  /// Whether somebody holds the lock. To hold it as another process would, call `tryLock`.
  bool isLocked(const std::string& path);

 private:
  std::atomic<bool> fails_ = false;
  std::atomic<bool> locksUnsupported_ = false;
  std::atomic<bool> sharesMemory_ = true;
  Mutex mutex_;
  std::set<std::string, std::less<>> locked_ LUMORA_GUARDED_BY(mutex_);
};

}  // namespace lumora::testing
