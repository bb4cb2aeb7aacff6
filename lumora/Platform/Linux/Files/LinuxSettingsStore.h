#pragma once

#include <atomic>
#include <map>
#include <optional>
#include <string>

#include "lumora/Platform/Linux/Files/StoreFile.h"
#include "lumora/Platform/Linux/Tasks/DelayedTask.h"
#include "lumora/Platform/Mutex.h"
#include "lumora/Platform/SettingsStore.h"

namespace lumora {

/// Settings in one file, loaded by the first access.
///
/// A value's life: set in memory → pending → in the file once a flush has succeeded. What nobody flushes is
/// written a moment later by a thread of the store's own, at the latest when the store or the process ends
/// (not by a signal or `_exit`). Processes may share the file: a flush carries only this process's changes
/// into what the file holds by then. While the file cannot be used, memory holds what is set, and the log
/// tells why.
class LinuxSettingsStore : public SettingsStore {
 public:
  explicit LinuxSettingsStore(std::string path, SystemLog* log = nullptr);
  ~LinuxSettingsStore() override;
  LinuxSettingsStore(const LinuxSettingsStore&) = delete;
  LinuxSettingsStore& operator=(const LinuxSettingsStore&) = delete;

  Value object(std::string_view key) override;
  void setObject(std::string_view key, const Value& value) override;
  void removeObject(std::string_view key) override;
  bool synchronize() override;
  Value setObjectIfAbsent(std::string_view key, const Value& value) override;
  bool removeLeftovers() override;

  /// Writes what is pending, but waits no longer than that for it. Not from a forked child.
  void finishWithin(std::chrono::milliseconds limit);

 private:
  /// The new value of each changed key; nothing for a removed one.
  using Changes = std::map<std::string, std::optional<Value>, std::less<>>;

  void ensureLoaded();
  void takeIn(Dictionary fromFile);
  void change(std::string_view key, std::optional<Value> value);
  /// Takes in what other processes wrote. Needs the file's lock; false when the file cannot be read.
  bool refresh() LUMORA_REQUIRES(fileMutex_);
  /// Writes the pending changes; those that cannot be written stay pending. Needs the file's lock.
  bool writePending(FolderSync sync) LUMORA_REQUIRES(fileMutex_);

  /// Held while the file is read or written; taken before the other one, which is never held that long.
  Mutex fileMutex_;
  StoreFile file_ LUMORA_GUARDED_BY(fileMutex_);
  std::atomic<bool> isLoaded_ = false;
  Mutex mutex_;
  Dictionary values_ LUMORA_GUARDED_BY(mutex_);
  Changes pending_ LUMORA_GUARDED_BY(mutex_);
  /// The last member: its thread uses the others.
  DelayedTask writer_;
};

}  // namespace lumora
