#pragma once

#include <string_view>

#include "lumora/Platform/Value.h"

namespace lumora {

/// The host application's persistent key-value store. The library shares it with the host.
/// A store that cannot be used keeps its values in memory, for this run.
///
/// Thread safety: every operation may be called from any thread.
class LUMORA_EXPORT SettingsStore {
 public:
  virtual ~SettingsStore() = default;

  /// The stored value, or null. Never touches the disk once the store is loaded.
  virtual Value object(std::string_view key) = 0;

  /// Stores a string, a number, a date, data, or a list or map of these. May throw a `std::exception` for a
  /// value that the store cannot hold; nothing is stored then. The library catches it.
  virtual void setObject(std::string_view key, const Value& value) = 0;

  /// Removes a key; does nothing when it is absent.
  virtual void removeObject(std::string_view key) = 0;

  /// Writes what was changed to persistent storage. Returns false when that failed; the changes are kept in
  /// memory and the next call tries again. The Linux store also writes them by itself, a moment after a
  /// change and at a normal end of the process.
  virtual bool synchronize() = 0;

  /// Stores a value under a key that has none, and flushes it, as one step: of several threads and processes
  /// that share the store and do this at the same time, one stores its value and the others see it. Gives the
  /// value that the key has then; a store that cannot be used gives the new one. May throw as `setObject`.
  virtual Value setObjectIfAbsent(std::string_view key, const Value& value) = 0;

  /// Removes what is left of earlier contents, such as a broken file that was moved aside; true when none of
  /// it is left. The values stay.
  virtual bool removeLeftovers() { return true; }
};

/// Passes everything to another store; a base for a host that replaces a single operation.
class LUMORA_EXPORT ForwardingSettingsStore : public SettingsStore {
 public:
  explicit ForwardingSettingsStore(SettingsStore& next) : next_(next) {}
  Value object(std::string_view key) override { return next_.object(key); }
  void setObject(std::string_view key, const Value& value) override { next_.setObject(key, value); }
  void removeObject(std::string_view key) override { next_.removeObject(key); }
  bool synchronize() override { return next_.synchronize(); }
  Value setObjectIfAbsent(std::string_view key, const Value& value) override {
    return next_.setObjectIfAbsent(key, value);
  }
  bool removeLeftovers() override { return next_.removeLeftovers(); }

 private:
  SettingsStore& next_;
};

}  // namespace lumora
