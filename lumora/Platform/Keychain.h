#pragma once

#include <optional>
#include <string>
#include <vector>

#include "lumora/Platform/Value.h"

namespace lumora {

/// What a keychain operation came to. Every status but the first two is a failure.
enum class KeychainStatus { success, itemNotFound, failure };

/// When an item may be read.
enum class KeychainAccessibility { afterFirstUnlock };

/// Selects generic-password items: an item matches when it carries every attribute that is set here.
struct KeychainQuery {
  std::optional<std::string> service;
  std::optional<std::string> generic;
  std::optional<std::string> account;
  std::optional<std::string> accessGroup;
};

/// One generic-password item. Service, account and access group together are unique in a keychain.
struct KeychainItem {
  std::string service;
  std::string generic;
  std::string account;
  std::optional<std::string> accessGroup;
  KeychainAccessibility accessibility = KeychainAccessibility::afterFirstUnlock;
  Data value;
};

/// The keychain of generic-password items. It outlives the host application's own data.
///
/// Thread safety: every operation may be called from any thread, and other processes may use the same
/// keychain at the same time.
class LUMORA_EXPORT Keychain {
 public:
  virtual ~Keychain() = default;

  /// Looks the first matching item up; `item` may be null when only the status matters.
  virtual KeychainStatus copyMatching(const KeychainQuery& query, KeychainItem* item) = 0;
  /// Every matching item; `itemNotFound` when there is none.
  virtual KeychainStatus copyAllMatching(const KeychainQuery& query, std::vector<KeychainItem>& items) = 0;
  /// Adds an item; fails when one with the same service, account and access group is already there.
  virtual KeychainStatus add(const KeychainItem& item) = 0;
  /// Gives every matching item a new value; nothing else of the items changes.
  virtual KeychainStatus update(const KeychainQuery& query, const Data& value) = 0;
  /// Deletes every matching item; `itemNotFound` when there is none.
  virtual KeychainStatus remove(const KeychainQuery& query) = 0;
};

/// Passes everything to another keychain; a base for a host that replaces a single operation.
class LUMORA_EXPORT ForwardingKeychain : public Keychain {
 public:
  explicit ForwardingKeychain(Keychain& next) : next_(next) {}
  KeychainStatus copyMatching(const KeychainQuery& query, KeychainItem* item) override {
    return next_.copyMatching(query, item);
  }
  KeychainStatus copyAllMatching(const KeychainQuery& query, std::vector<KeychainItem>& items) override {
    return next_.copyAllMatching(query, items);
  }
  KeychainStatus add(const KeychainItem& item) override { return next_.add(item); }
  KeychainStatus update(const KeychainQuery& query, const Data& value) override {
    return next_.update(query, value);
  }
  KeychainStatus remove(const KeychainQuery& query) override { return next_.remove(query); }

 private:
  Keychain& next_;
};

}  // namespace lumora
