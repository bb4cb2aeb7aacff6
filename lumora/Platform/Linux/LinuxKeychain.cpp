#include "lumora/Platform/Linux/LinuxKeychain.h"

#include <algorithm>
#include <exception>
#include <iterator>
#include <utility>

#include "lumora/Platform/Linux/KeychainFormat.h"

namespace lumora {
namespace {

bool matches(const KeychainQuery& query, const KeychainItem& item) {
  return (!query.service || *query.service == item.service) &&
         (!query.generic || *query.generic == item.generic) &&
         (!query.account || *query.account == item.account) &&
         (!query.accessGroup || query.accessGroup == item.accessGroup);
}

auto matching(const KeychainQuery& query) {
  return [&query](const KeychainItem& item) { return matches(query, item); };
}

}  // namespace

LinuxKeychain::LinuxKeychain(std::string path) : file_(std::move(path)) {}

bool LinuxKeychain::refresh(Access access) {
  if (file_.isCurrent()) return true;
  Items items;
  const auto parse = [&items](const std::string& bytes) {
    auto decoded = decodeKeychain(bytes);
    if (!decoded) return false;
    items = std::move(*decoded);
    return true;
  };
  const StoreFile::State state = access == Access::locked ? file_.loadLocked(parse) : file_.load(parse);
  if (state == StoreFile::State::unreadable) return false;
  items_ = std::move(items);
  return true;
}

KeychainStatus LinuxKeychain::change(const std::function<KeychainStatus(Items& items)>& edit) {
  Lock lock(mutex_);
  try {
    const StoreLock held = file_.lock();
    if (!held.isHeld() || !refresh(Access::locked)) return KeychainStatus::failure;
    Items items = items_;
    const KeychainStatus status = edit(items);
    if (status != KeychainStatus::success) return status;
    // Who has been told an identifier must find it again, after a power cut too.
    if (!file_.replace(encodeKeychain(items), FolderSync::always)) return KeychainStatus::failure;
    items_ = std::move(items);
    return KeychainStatus::success;
  } catch (const std::exception&) {
    return KeychainStatus::failure;  // Memory ran out.
  }
}

KeychainStatus LinuxKeychain::copyMatching(const KeychainQuery& query, KeychainItem* item) {
  Lock lock(mutex_);
  if (!refresh(Access::shared)) return KeychainStatus::failure;
  const auto found = std::ranges::find_if(items_, matching(query));
  if (found == items_.end()) return KeychainStatus::itemNotFound;
  if (item) *item = *found;
  return KeychainStatus::success;
}

KeychainStatus LinuxKeychain::copyAllMatching(const KeychainQuery& query, std::vector<KeychainItem>& items) {
  items.clear();
  Lock lock(mutex_);
  if (!refresh(Access::shared)) return KeychainStatus::failure;
  std::ranges::copy_if(items_, std::back_inserter(items), matching(query));
  return items.empty() ? KeychainStatus::itemNotFound : KeychainStatus::success;
}

KeychainStatus LinuxKeychain::add(const KeychainItem& item) {
  return change([&item](Items& items) {
    const bool isTaken = std::ranges::any_of(items, [&item](const KeychainItem& other) {
      return other.service == item.service && other.account == item.account &&
             other.accessGroup == item.accessGroup;
    });
    if (isTaken) return KeychainStatus::failure;
    items.push_back(item);
    return KeychainStatus::success;
  });
}

KeychainStatus LinuxKeychain::update(const KeychainQuery& query, const Data& value) {
  return change([&](Items& items) {
    KeychainStatus status = KeychainStatus::itemNotFound;
    for (KeychainItem& item : items) {
      if (!matches(query, item)) continue;
      item.value = value;
      status = KeychainStatus::success;
    }
    return status;
  });
}

KeychainStatus LinuxKeychain::remove(const KeychainQuery& query) {
  return change([&query](Items& items) {
    return std::erase_if(items, matching(query)) > 0 ? KeychainStatus::success : KeychainStatus::itemNotFound;
  });
}

}  // namespace lumora
