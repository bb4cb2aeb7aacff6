#pragma once

#include <functional>
#include <string>
#include <vector>

#include "lumora/Platform/Keychain.h"
#include "lumora/Platform/Linux/Files/StoreFile.h"
#include "lumora/Platform/Mutex.h"

namespace lumora {

/// A keychain in one protected file. Every change is in the file when its operation succeeds. One that the
/// file does not take fails, but items that it added or updated are kept in memory, for this run, until the
/// file takes them; the log tells why.
class LinuxKeychain : public Keychain {
 public:
  explicit LinuxKeychain(std::string path, SystemLog* log = nullptr);
  KeychainStatus copyMatching(const KeychainQuery& query, KeychainItem* item) override;
  KeychainStatus copyAllMatching(const KeychainQuery& query, std::vector<KeychainItem>& items) override;
  KeychainStatus add(const KeychainItem& item) override;
  KeychainStatus update(const KeychainQuery& query, const Data& value) override;
  KeychainStatus remove(const KeychainQuery& query) override;

 private:
  using Items = std::vector<KeychainItem>;
  enum class Access { shared, locked };

  /// Brings the items up to what the file holds now; false when it cannot be read, and they stay.
  bool refresh(Access access) LUMORA_REQUIRES(mutex_);
  /// Changes the items under the file's lock.
  KeychainStatus change(const std::function<KeychainStatus(Items& items)>& edit);
  /// Takes over a change that the file has not taken.
  void keep(const Items& changed) LUMORA_REQUIRES(mutex_);

  Mutex mutex_;
  StoreFile file_ LUMORA_GUARDED_BY(mutex_);
  Items items_ LUMORA_GUARDED_BY(mutex_);
  /// Those of the items that the file has not taken.
  Items unsaved_ LUMORA_GUARDED_BY(mutex_);
};

}  // namespace lumora
