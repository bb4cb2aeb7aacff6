#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "lumora/Platform/Keychain.h"

namespace lumora {

/// A key-value store over the keychain of generic-password items.
///
/// The class operations go straight to the keychain; they name the service (absent: the default service) and
/// perhaps an access group, and may be called from any thread. An instance collects writes in memory until
/// `synchronize`, and belongs to one thread at a time. Reads answer nothing and writes false on failure;
/// nothing is logged.
class UICKeyChainStore {
 public:
  using Text = std::optional<std::string>;

  /// The host application's bundle identifier, until it is replaced.
  static std::string defaultService();
  static void setDefaultService(std::string service);

  static UICKeyChainStore keyChainStore();
  static UICKeyChainStore keyChainStoreWithService(const Text& service, const Text& accessGroup = {});

  /// Nothing also when the bytes are not UTF-8.
  static Text stringForKey(const Text& key, const Text& service, const Text& accessGroup = {});
  static bool setString(const Text& string, const Text& key, const Text& service,
                        const Text& accessGroup = {});
  static std::optional<Data> dataForKey(const Text& key, const Text& service, const Text& accessGroup = {});
  /// Absent bytes remove the item.
  static bool setData(const std::optional<Data>& data, const Text& key, const Text& service,
                      const Text& accessGroup = {});
  /// True also when there was no such item.
  static bool removeItemForKey(const Text& key, const Text& service, const Text& accessGroup = {});
  /// Nothing when there are no items, or on failure.
  static std::optional<std::vector<KeychainItem>> itemsForService(const Text& service,
                                                                  const Text& accessGroup = {});
  /// Stops at the first item that cannot be deleted.
  static bool removeAllItemsForService(const Text& service, const Text& accessGroup = {});

  UICKeyChainStore();
  explicit UICKeyChainStore(const Text& service, Text accessGroup = {});

  const std::string& service() const noexcept { return service_; }
  const Text& accessGroup() const noexcept { return accessGroup_; }
  const std::map<std::string, Data>& itemsToUpdate() const noexcept { return itemsToUpdate_; }

  /// Absent bytes remove the key.
  void setData(const std::optional<Data>& data, const Text& key);
  std::optional<Data> dataForKey(const Text& key) const;
  void setString(const Text& string, const Text& key);
  Text stringForKey(const Text& key) const;
  /// Drops a write that waits; the keychain's own item is removed only when none does.
  void removeItemForKey(const Text& key);
  void removeAllItems();
  /// Writes everything that waits. What cannot be written is forgotten.
  void synchronize();

  Text objectForKeyedSubscript(const Text& key) const { return stringForKey(key); }
  void setObject(const Text& string, const Text& keyedSubscript) { setString(string, keyedSubscript); }

  /// The items of this instance's service and group, as text.
  std::string description() const;

 private:
  std::map<std::string, Data> itemsToUpdate_;
  std::string service_;
  Text accessGroup_;
};

}  // namespace lumora
