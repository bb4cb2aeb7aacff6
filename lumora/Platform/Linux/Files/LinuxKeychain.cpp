// The keychain's matching rules over one file that other processes change too: every access looks first
// whether it is still the file that is known. The file and its lock are StoreFile's, the text
// KeychainFormat's.
#include "lumora/Platform/Linux/Files/LinuxKeychain.h"

#include <algorithm>
#include <exception>
#include <iterator>
#include <utility>

#include "lumora/Platform/Linux/Files/KeychainFormat.h"

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

/// The generic attribute does not tell items apart, as in the keychain that this stands for.
bool isSameItem(const KeychainItem& left, const KeychainItem& right) {
  return left.service == right.service && left.account == right.account &&
         left.accessGroup == right.accessGroup;
}

/// Puts an item in the place of the one that it may not stand beside.
void putItem(std::vector<KeychainItem>& items, const KeychainItem& item) {
  const auto present =
      std::ranges::find_if(items, [&item](const KeychainItem& other) { return isSameItem(other, item); });
  if (present == items.end())
    items.push_back(item);
  else
    *present = item;
}

}  // namespace

LinuxKeychain::LinuxKeychain(std::string path, SystemLog* log) : file_(std::move(path), log) {}

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
  // Other processes' items come in; those that the file has not taken stay above them.
  for (const KeychainItem& item : unsaved_) putItem(items, item);
  items_ = std::move(items);
  return true;
}

KeychainStatus LinuxKeychain::change(const std::function<KeychainStatus(Items& items)>& edit) {
  Lock lock(mutex_);
  try {
    const StoreLock held = file_.lock();
    const bool canWrite = held.isHeld() && refresh(Access::locked);
    Items items = items_;
    // Also where it cannot be written: what was added is then known for this run at least.
    const KeychainStatus status = edit(items);
    if (status != KeychainStatus::success) return status;
    // Who has been told an identifier must find it again, after a power cut too.
    if (!canWrite || !file_.replace(encodeKeychain(items), FolderSync::always)) {
      keep(items);
      return KeychainStatus::failure;
    }
    items_ = std::move(items);
    unsaved_.clear();
    return KeychainStatus::success;
  } catch (const std::exception&) {
    return KeychainStatus::failure;  // Memory ran out.
  }
}

void LinuxKeychain::keep(const Items& changed) {
  const auto isIn = [](const Items& items, const KeychainItem& item) {
    return std::ranges::any_of(items, [&item](const KeychainItem& other) {
      return isSameItem(other, item) && other.value == item.value;
    });
  };
  // What was removed, or changed once more, is kept no longer. A removal that the file does not take has
  // failed: its item is still there.
  const Items kept = unsaved_;
  std::erase_if(items_, [&](const KeychainItem& item) { return isIn(kept, item) && !isIn(changed, item); });
  std::erase_if(unsaved_, [&](const KeychainItem& item) { return !isIn(changed, item); });
  for (const KeychainItem& item : changed) {
    if (isIn(items_, item)) continue;
    putItem(unsaved_, item);
    putItem(items_, item);
  }
}

KeychainStatus LinuxKeychain::copyMatching(const KeychainQuery& query, KeychainItem* item) {
  Lock lock(mutex_);
  refresh(Access::shared);
  const auto found = std::ranges::find_if(items_, matching(query));
  if (found == items_.end()) return KeychainStatus::itemNotFound;
  if (item) *item = *found;
  return KeychainStatus::success;
}

KeychainStatus LinuxKeychain::copyAllMatching(const KeychainQuery& query, std::vector<KeychainItem>& items) {
  items.clear();
  Lock lock(mutex_);
  refresh(Access::shared);
  std::ranges::copy_if(items_, std::back_inserter(items), matching(query));
  return items.empty() ? KeychainStatus::itemNotFound : KeychainStatus::success;
}

KeychainStatus LinuxKeychain::add(const KeychainItem& item) {
  return change([&item](Items& items) {
    const bool isTaken =
        std::ranges::any_of(items, [&item](const KeychainItem& other) { return isSameItem(other, item); });
    // Adding never replaces: whoever wants that updates.
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
