#pragma once

#include <vector>

#include "lumora/Platform/Keychain.h"
#include "lumora/Platform/Mutex.h"

namespace lumora::testing {

/// A keychain in memory.
///
/// Thread safety: every operation may be called from any thread.
class LUMORA_EXPORT FakeKeychain : public Keychain {
 public:
  KeychainStatus copyMatching(const KeychainQuery& query, KeychainItem* item) override;
  KeychainStatus copyAllMatching(const KeychainQuery& query, std::vector<KeychainItem>& items) override;
  KeychainStatus add(const KeychainItem& item) override;
  KeychainStatus update(const KeychainQuery& query, const Data& value) override;
  KeychainStatus remove(const KeychainQuery& query) override;

  /// Makes every operation fail, or work again.
  void setRefuses(bool refuses);
  /// Makes the operations that change items fail, or work again; items can be looked up all the while.
  void setRefusesChanges(bool refuses);
  /// Everything in the keychain, in the order in which it was added.
  std::vector<KeychainItem> items() const;

 private:
  mutable Mutex mutex_;
  std::vector<KeychainItem> items_ LUMORA_GUARDED_BY(mutex_);
  bool refuses_ LUMORA_GUARDED_BY(mutex_) = false;
  bool refusesChanges_ LUMORA_GUARDED_BY(mutex_) = false;
};

}  // namespace lumora::testing
