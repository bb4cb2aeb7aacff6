// Settings in memory, with those changes that the file does not have yet. The file and its lock are
// StoreFile's, the text SettingsFormat's; DelayedTask writes what nobody flushed.
#include "lumora/Platform/Linux/Files/LinuxSettingsStore.h"

#include <algorithm>
#include <cstdlib>
#include <exception>
#include <set>
#include <utility>

#include "lumora/Platform/ForkedChild.h"
#include "lumora/Platform/Linux/Files/SettingsFormat.h"
#include "lumora/Platform/Linux/Tasks/ProcessEnd.h"

namespace lumora {
namespace {

constexpr std::chrono::milliseconds longestWait{1000};
/// Also when the end of the process has taken its time for other things.
constexpr std::chrono::milliseconds shortestWaitAtEnd{200};

/// The stores that are to be written when the process ends.
class LiveStores {
 public:
  static LiveStores& shared() {
    static auto* const instance = new LiveStores;
    return *instance;
  }

  void add(LinuxSettingsStore& store) {
    Lock lock(mutex_);
    stores_.insert(&store);
  }

  void remove(LinuxSettingsStore& store) {
    if (isForkedChild()) return;
    Lock lock(mutex_);
    stores_.erase(&store);
  }

 private:
  LiveStores() {
    std::atexit([] { shared().finish(); });
  }

  void finish() {
    if (isForkedChild()) return;  // What is pending is the parent's to write.
    Lock lock(mutex_);
    for (LinuxSettingsStore* store : stores_)
      store->finishWithin(std::max(ProcessEnd::patience(), shortestWaitAtEnd));
  }

  Mutex mutex_;
  std::set<LinuxSettingsStore*> stores_ LUMORA_GUARDED_BY(mutex_);
};

/// Takes the file's values into `values`, if it is a settings file.
StoreFile::Parser parserInto(Dictionary& values) {
  return [&values](const std::string& bytes) {
    std::optional<Dictionary> decoded = decodeSettings(bytes);
    if (!decoded) return false;
    values = std::move(*decoded);
    return true;
  };
}

void applyChange(std::string_view key, const std::optional<Value>& value, Dictionary& values) {
  if (value) {
    values.insert_or_assign(std::string(key), *value);
  } else if (const auto entry = values.find(key); entry != values.end()) {
    values.erase(entry);
  }
}

}  // namespace

LinuxSettingsStore::LinuxSettingsStore(std::string path, SystemLog* log)
    : file_(std::move(path), log), writer_([this] { return LinuxSettingsStore::synchronize(); }) {
  LiveStores::shared().add(*this);
}

LinuxSettingsStore::~LinuxSettingsStore() {
  LiveStores::shared().remove(*this);
  finishWithin(longestWait);
}

void LinuxSettingsStore::finishWithin(std::chrono::milliseconds limit) {
  writer_.finishWithin(limit);
}

/// A file that cannot be read is tried again by the next access.
void LinuxSettingsStore::ensureLoaded() {
  if (isLoaded_) return;
  Lock fileLock(fileMutex_);
  // Another thread may have loaded it meanwhile.
  if (isLoaded_) return;
  Dictionary values;
  if (file_.load(parserInto(values)) == StoreFile::State::unreadable) return;
  takeIn(std::move(values));
  isLoaded_ = true;
}

void LinuxSettingsStore::takeIn(Dictionary fromFile) {
  Lock lock(mutex_);
  // What is pending was set later than what the file holds.
  for (const auto& [key, value] : pending_) applyChange(key, value, fromFile);
  values_ = std::move(fromFile);
}

Value LinuxSettingsStore::object(std::string_view key) {
  ensureLoaded();
  Lock lock(mutex_);
  const Value* value = findValue(values_, key);
  return value ? *value : Value();
}

void LinuxSettingsStore::setObject(std::string_view key, const Value& value) {
  change(key, storableSetting(key, value));
}

void LinuxSettingsStore::removeObject(std::string_view key) {
  change(key, std::nullopt);
}

void LinuxSettingsStore::change(std::string_view key, std::optional<Value> value) {
  ensureLoaded();
  {
    Lock lock(mutex_);
    applyChange(key, value, values_);
    pending_.insert_or_assign(std::string(key), std::move(value));
  }
  writer_.request();
}

bool LinuxSettingsStore::synchronize() {
  Lock fileLock(fileMutex_);
  {
    Lock lock(mutex_);
    if (pending_.empty()) return true;
  }
  try {
    const StoreLock held = file_.lock();
    return held.isHeld() && refresh() && writePending(FolderSync::whenMade);
  } catch (const std::exception&) {
    return false;  // Memory ran out.
  }
}

bool LinuxSettingsStore::removeLeftovers() {
  Lock fileLock(fileMutex_);
  return file_.removeMovedAside();
}

Value LinuxSettingsStore::setObjectIfAbsent(std::string_view key, const Value& value) {
  Value stored = storableSetting(key, value);
  ensureLoaded();
  Lock fileLock(fileMutex_);
  const StoreLock held = file_.lock();
  const bool canWrite = held.isHeld() && refresh();
  {
    Lock lock(mutex_);
    if (const Value* present = findValue(values_, key)) return *present;
    applyChange(key, stored, values_);
    pending_.insert_or_assign(std::string(key), stored);
  }
  // The name too must survive a power cut: other processes act on this value from now on.
  if (!canWrite || !writePending(FolderSync::always)) writer_.request();
  return stored;
}

bool LinuxSettingsStore::refresh() {
  if (file_.isCurrent()) return true;
  Dictionary fromFile;
  const StoreFile::State state = file_.loadLocked(parserInto(fromFile));
  if (state == StoreFile::State::unreadable) return false;
  // Of a file that is gone, memory holds the last copy.
  if (state == StoreFile::State::present) takeIn(std::move(fromFile));
  return true;
}

bool LinuxSettingsStore::writePending(FolderSync sync) {
  Changes changes;
  bool isWritten = false;
  try {
    Dictionary values;
    {
      Lock lock(mutex_);
      values = values_;
      changes = std::exchange(pending_, {});
    }
    // Without the lock: who reads a setting does not wait for this.
    const std::optional<std::string> bytes = encodeSettings(values);
    isWritten = bytes && file_.replace(*bytes, sync);
  } catch (const std::exception&) {
    // Memory ran out, which is a failure as any other.
  }
  if (isWritten) return true;
  Lock lock(mutex_);
  pending_.merge(changes);  // What was changed again meanwhile stays as it is.
  return false;
}

}  // namespace lumora
