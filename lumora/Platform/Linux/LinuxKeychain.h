#pragma once

#include <functional>
#include <string>
#include <vector>

#include "lumora/Platform/Keychain.h"
#include "lumora/Platform/Linux/StoreFile.h"
#include "lumora/Platform/Mutex.h"

namespace lumora {

/// A keychain in one protected file. Every change is in the file when its operation returns.
class LinuxKeychain : public Keychain {
 public:
  explicit LinuxKeychain(std::string path);
  KeychainStatus copyMatching(const KeychainQuery& query, KeychainItem* item) override;
  KeychainStatus copyAllMatching(const KeychainQuery& query, std::vector<KeychainItem>& items) override;
  KeychainStatus add(const KeychainItem& item) override;
  KeychainStatus update(const KeychainQuery& query, const Data& value) override;
  KeychainStatus remove(const KeychainQuery& query) override;

 private:
  using Items = std::vector<KeychainItem>;
  enum class Access { shared, locked };

  /// Brings the items up to what the file holds now; false when it cannot be read.
  bool refresh(Access access) LUMORA_REQUIRES(mutex_);
  /// Changes the items under the file's lock, and keeps the change only if the file takes it.
  KeychainStatus change(const std::function<KeychainStatus(Items& items)>& edit);

  Mutex mutex_;
  StoreFile file_ LUMORA_GUARDED_BY(mutex_);
  Items items_ LUMORA_GUARDED_BY(mutex_);
};

}  // namespace lumora
