// The keychain's matching rules, written once more in memory: the suite that the Linux keychain runs keeps
// the two alike.
#include "lumora/Testing/FakeKeychain.h"

#include <algorithm>

namespace lumora::testing {
namespace {

bool matches(const KeychainQuery& query, const KeychainItem& item) {
  if (query.service && *query.service != item.service) return false;
  if (query.generic && *query.generic != item.generic) return false;
  if (query.account && *query.account != item.account) return false;
  return !query.accessGroup || query.accessGroup == item.accessGroup;
}

}  // namespace

KeychainStatus FakeKeychain::copyMatching(const KeychainQuery& query, KeychainItem* item) {
  std::vector<KeychainItem> items;
  const KeychainStatus status = copyAllMatching(query, items);
  if (status == KeychainStatus::success && item) *item = items.front();
  return status;
}

KeychainStatus FakeKeychain::copyAllMatching(const KeychainQuery& query, std::vector<KeychainItem>& items) {
  items.clear();
  Lock lock(mutex_);
  if (refuses_) return KeychainStatus::failure;
  for (const KeychainItem& item : items_) {
    if (matches(query, item)) items.push_back(item);
  }
  return items.empty() ? KeychainStatus::itemNotFound : KeychainStatus::success;
}

KeychainStatus FakeKeychain::add(const KeychainItem& item) {
  Lock lock(mutex_);
  if (refuses_ || refusesChanges_) return KeychainStatus::failure;
  for (const KeychainItem& other : items_) {
    if (other.service == item.service && other.account == item.account &&
        other.accessGroup == item.accessGroup) {
      return KeychainStatus::failure;
    }
  }
  items_.push_back(item);
  return KeychainStatus::success;
}

KeychainStatus FakeKeychain::update(const KeychainQuery& query, const Data& value) {
  Lock lock(mutex_);
  if (refuses_ || refusesChanges_) return KeychainStatus::failure;
  KeychainStatus status = KeychainStatus::itemNotFound;
  for (KeychainItem& item : items_) {
    if (!matches(query, item)) continue;
    item.value = value;
    status = KeychainStatus::success;
  }
  return status;
}

KeychainStatus FakeKeychain::remove(const KeychainQuery& query) {
  Lock lock(mutex_);
  if (refuses_ || refusesChanges_) return KeychainStatus::failure;
  const auto removed = std::erase_if(items_, [&](const KeychainItem& item) { return matches(query, item); });
  return removed > 0 ? KeychainStatus::success : KeychainStatus::itemNotFound;
}

void FakeKeychain::setRefuses(bool refuses) {
  Lock lock(mutex_);
  refuses_ = refuses;
}

void FakeKeychain::setRefusesChanges(bool refuses) {
  Lock lock(mutex_);
  refusesChanges_ = refuses;
}

std::vector<KeychainItem> FakeKeychain::items() const {
  Lock lock(mutex_);
  return items_;
}

}  // namespace lumora::testing
