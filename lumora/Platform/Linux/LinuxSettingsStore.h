#pragma once

#include <atomic>
#include <map>
#include <optional>
#include <string>

#include "lumora/Platform/Linux/StoreFile.h"
#include "lumora/Platform/Mutex.h"
#include "lumora/Platform/SettingsStore.h"

namespace lumora {

/// Settings in one file, loaded by the first access.
///
/// A value's life: set in memory → pending → in the file once a flush has succeeded. Processes may share the
/// file: a flush carries only this process's changes into what the file holds by then.
class LinuxSettingsStore : public SettingsStore {
 public:
  explicit LinuxSettingsStore(std::string path);
  Value object(std::string_view key) override;
  void setObject(std::string_view key, const Value& value) override;
  void removeObject(std::string_view key) override;
  bool synchronize() override;

 private:
  /// The new value of each changed key; nothing for a removed one.
  using Changes = std::map<std::string, std::optional<Value>, std::less<>>;

  bool ensureLoaded();
  void change(std::string_view key, std::optional<Value> value);
  std::optional<Dictionary> write(Dictionary values, const Changes& changes) LUMORA_REQUIRES(fileMutex_);

  /// Held while the file is read or written; taken before the other one, which is never held that long.
  Mutex fileMutex_;
  StoreFile file_ LUMORA_GUARDED_BY(fileMutex_);
  std::atomic<bool> isLoaded_ = false;
  Mutex mutex_;
  Dictionary values_ LUMORA_GUARDED_BY(mutex_);
  Changes pending_ LUMORA_GUARDED_BY(mutex_);
};

}  // namespace lumora
