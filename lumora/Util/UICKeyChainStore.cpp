// A key-value store over the platform's Keychain, which has items with a service, an account and a generic
// attribute: the key stands in the latter two. The identifier that survives a reinstallation is
// UIDeviceAdditionalInfo's.
#include "lumora/Util/UICKeyChainStore.h"

#include <utility>

#include "lumora/Platform/JSON.h"
#include "lumora/Platform/Mutex.h"
#include "lumora/Platform/Platform.h"

namespace lumora {
namespace {

using Text = UICKeyChainStore::Text;

/// The service that is used where none is named; filled on its first use.
class DefaultService {
 public:
  std::string get() {
    Lock lock(mutex_);
    if (!name_) name_ = platform().bundle.infoValue(kBundleIdentifierKey).value_or("");
    return *name_;
  }

  void set(std::string name) {
    Lock lock(mutex_);
    name_ = std::move(name);
  }

 private:
  Mutex mutex_;
  std::optional<std::string> name_ LUMORA_GUARDED_BY(mutex_);
};

DefaultService& sharedDefaultService() {
  static auto* const instance = new DefaultService;
  return *instance;
}

std::string serviceOrDefault(const Text& service) {
  return service ? *service : sharedDefaultService().get();
}

KeychainQuery itemQuery(const std::string& key, const Text& service, const Text& accessGroup) {
  return {serviceOrDefault(service), key, key, accessGroup};
}

std::optional<Data> bytesOf(const Text& string) {
  if (!string) return std::nullopt;
  return Data(string->begin(), string->end());
}

Text textOf(const std::optional<Data>& data) {
  if (!data) return std::nullopt;
  std::string text(data->begin(), data->end());
  // Another program may have stored bytes under this key.
  if (!isUTF8(text)) return std::nullopt;
  return text;
}

}  // namespace

std::string UICKeyChainStore::defaultService() {
  return sharedDefaultService().get();
}

void UICKeyChainStore::setDefaultService(std::string service) {
  sharedDefaultService().set(std::move(service));
}

UICKeyChainStore UICKeyChainStore::keyChainStore() {
  return UICKeyChainStore();
}

UICKeyChainStore UICKeyChainStore::keyChainStoreWithService(const Text& service, const Text& accessGroup) {
  return UICKeyChainStore(service, accessGroup);
}

Text UICKeyChainStore::stringForKey(const Text& key, const Text& service, const Text& accessGroup) {
  return textOf(dataForKey(key, service, accessGroup));
}

bool UICKeyChainStore::setString(const Text& string, const Text& key, const Text& service,
                                 const Text& accessGroup) {
  return setData(bytesOf(string), key, service, accessGroup);
}

std::optional<Data> UICKeyChainStore::dataForKey(const Text& key, const Text& service,
                                                 const Text& accessGroup) {
  if (!key) return std::nullopt;
  KeychainItem item;
  const auto status = platform().keychain.copyMatching(itemQuery(*key, service, accessGroup), &item);
  if (status != KeychainStatus::success) return std::nullopt;
  return std::move(item.value);
}

bool UICKeyChainStore::setData(const std::optional<Data>& data, const Text& key, const Text& service,
                               const Text& accessGroup) {
  if (!key) return false;
  Keychain& keychain = platform().keychain;
  const KeychainQuery query = itemQuery(*key, service, accessGroup);
  // Looked up first: a keychain adds no item over one that is there, and updates none that is not.
  const KeychainStatus found = keychain.copyMatching(query, nullptr);
  if (found == KeychainStatus::failure) return false;
  if (!data) {
    // Its failure is not told: removing is true as soon as the keychain answers.
    removeItemForKey(key, service, accessGroup);
    return true;
  }
  if (found == KeychainStatus::success) return keychain.update(query, *data) == KeychainStatus::success;
  return keychain.add({*query.service, *key, *key, accessGroup, KeychainAccessibility::afterFirstUnlock,
                       *data}) == KeychainStatus::success;
}

bool UICKeyChainStore::removeItemForKey(const Text& key, const Text& service, const Text& accessGroup) {
  if (!key) return false;
  return platform().keychain.remove(itemQuery(*key, service, accessGroup)) != KeychainStatus::failure;
}

std::optional<std::vector<KeychainItem>> UICKeyChainStore::itemsForService(const Text& service,
                                                                           const Text& accessGroup) {
  std::vector<KeychainItem> items;
  const KeychainQuery query{serviceOrDefault(service), std::nullopt, std::nullopt, accessGroup};
  if (platform().keychain.copyAllMatching(query, items) != KeychainStatus::success) return std::nullopt;
  return items;
}

bool UICKeyChainStore::removeAllItemsForService(const Text& service, const Text& accessGroup) {
  const auto items = itemsForService(service, accessGroup);
  // None, or none that could be listed: the two are not told apart.
  if (!items) return true;
  for (const KeychainItem& item : *items) {
    const KeychainQuery query{item.service, item.generic, item.account, item.accessGroup};
    // An item without an access group takes its namesakes in other groups along: not found is no failure.
    if (platform().keychain.remove(query) == KeychainStatus::failure) return false;
  }
  return true;
}

UICKeyChainStore::UICKeyChainStore() : UICKeyChainStore(Text()) {}

UICKeyChainStore::UICKeyChainStore(const Text& service, Text accessGroup)
    : service_(serviceOrDefault(service)), accessGroup_(std::move(accessGroup)) {}

void UICKeyChainStore::setData(const std::optional<Data>& data, const Text& key) {
  if (!key) return;
  if (data) {
    itemsToUpdate_[*key] = *data;
  } else {
    removeItemForKey(key);
  }
}

std::optional<Data> UICKeyChainStore::dataForKey(const Text& key) const {
  if (!key) return std::nullopt;
  // What waits hides what is stored.
  const auto waiting = itemsToUpdate_.find(*key);
  if (waiting != itemsToUpdate_.end()) return waiting->second;
  return dataForKey(key, service_, accessGroup_);
}

void UICKeyChainStore::setString(const Text& string, const Text& key) {
  setData(bytesOf(string), key);
}

Text UICKeyChainStore::stringForKey(const Text& key) const {
  return textOf(dataForKey(key));
}

void UICKeyChainStore::removeItemForKey(const Text& key) {
  if (key && itemsToUpdate_.erase(*key) > 0) return;
  removeItemForKey(key, service_, accessGroup_);
}

void UICKeyChainStore::removeAllItems() {
  itemsToUpdate_.clear();
  removeAllItemsForService(service_, accessGroup_);
}

void UICKeyChainStore::synchronize() {
  // Each by itself: one that is refused keeps no other back.
  for (const auto& [key, data] : itemsToUpdate_) setData(data, key, service_, accessGroup_);
  itemsToUpdate_.clear();
}

std::string UICKeyChainStore::description() const {
  List list;
  for (const KeychainItem& item :
       itemsForService(service_, accessGroup_).value_or(std::vector<KeychainItem>())) {
    const Text text = textOf(item.value);
    list.emplace_back(Dictionary{{"Service", item.service},
                                 {"Account", item.account},
                                 {"AccessGroup", item.accessGroup},
                                 {"Value", text ? Value(*text) : Value(item.value)}});
  }
  return Value(std::move(list)).description();
}

}  // namespace lumora
