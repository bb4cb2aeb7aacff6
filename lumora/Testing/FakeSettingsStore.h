#pragma once

#include <string_view>

#include "lumora/Platform/Mutex.h"
#include "lumora/Platform/SettingsStore.h"

namespace lumora::testing {

/// Settings in memory that know what would have reached the disk.
///
/// Thread safety: every operation may be called from any thread.
class LUMORA_EXPORT FakeSettingsStore : public SettingsStore {
 public:
  Value object(std::string_view key) override;
  /// Throws `std::invalid_argument` for what a settings store cannot hold: null, URLs, opaque objects,
  /// numbers that are not finite, texts that are not UTF-8, also inside lists and maps, and what is nested
  /// too deeply.
  void setObject(std::string_view key, const Value& value) override;
  void removeObject(std::string_view key) override;
  bool synchronize() override;
  Value setObjectIfAbsent(std::string_view key, const Value& value) override;

  /// Makes `setObject` throw `std::runtime_error` for every value, as a store may, or work again.
  void setRefusesChanges(bool refuses);
  /// Makes the store unusable, or usable again: writes are ignored.
  void setIgnoresWrites(bool ignores);
  /// Makes every flush fail, or succeed again.
  void setFlushFails(bool fails);
  /// What the process would find at its next start: forgets every change that was not flushed.
  void loseUnflushedChanges();
  /// Removes everything, as removing the application does.
  void clear();
  /// Every value as it is in memory, and as the last flush left it.
  Dictionary values() const;
  Dictionary flushedValues() const;
  /// How often `synchronize` was called.
  int flushCount() const;

 private:
  mutable Mutex mutex_;
  Dictionary values_ LUMORA_GUARDED_BY(mutex_);
  Dictionary flushed_ LUMORA_GUARDED_BY(mutex_);
  bool refusesChanges_ LUMORA_GUARDED_BY(mutex_) = false;
  bool ignoresWrites_ LUMORA_GUARDED_BY(mutex_) = false;
  bool flushFails_ LUMORA_GUARDED_BY(mutex_) = false;
  int flushCount_ LUMORA_GUARDED_BY(mutex_) = 0;
};

}  // namespace lumora::testing
