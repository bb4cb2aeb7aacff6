#include "lumora/Platform/Linux/LinuxSettingsStore.h"

#include <utility>

#include "lumora/Platform/Linux/SettingsFormat.h"

namespace lumora {
namespace {

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

LinuxSettingsStore::LinuxSettingsStore(std::string path) : file_(std::move(path)) {}

bool LinuxSettingsStore::ensureLoaded() {
  if (isLoaded_) return true;
  Lock fileLock(fileMutex_);
  if (isLoaded_) return true;
  Dictionary values;
  if (file_.load(parserInto(values)) == StoreFile::State::unreadable) return false;
  Lock lock(mutex_);
  values_ = std::move(values);
  isLoaded_ = true;
  return true;
}

Value LinuxSettingsStore::object(std::string_view key) {
  if (!ensureLoaded()) return {};
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
  if (!ensureLoaded()) return;
  Lock lock(mutex_);
  applyChange(key, value, values_);
  pending_.insert_or_assign(std::string(key), std::move(value));
}

bool LinuxSettingsStore::synchronize() {
  Lock fileLock(fileMutex_);
  Changes changes;
  Dictionary values;
  {
    Lock lock(mutex_);
    if (pending_.empty()) return true;
    changes = std::exchange(pending_, {});
    values = values_;
  }
  std::optional<Dictionary> written = write(std::move(values), changes);
  Lock lock(mutex_);
  if (!written) {
    pending_.merge(changes);  // What was changed again meanwhile stays as it is.
    return false;
  }
  values_ = std::move(*written);
  for (const auto& [key, value] : pending_) applyChange(key, value, values_);
  return true;
}

std::optional<Dictionary> LinuxSettingsStore::write(Dictionary values, const Changes& changes) {
  const FileDescriptor held = file_.lock();
  if (!held.isOpen()) return std::nullopt;
  if (!file_.isCurrent()) {
    Dictionary fromFile;
    const StoreFile::State state = file_.loadLocked(parserInto(fromFile));
    if (state == StoreFile::State::unreadable) return std::nullopt;
    // Of a file that is gone, memory holds the last copy.
    if (state == StoreFile::State::present) {
      for (const auto& [key, value] : changes) applyChange(key, value, fromFile);
      values = std::move(fromFile);
    }
  }
  const std::optional<std::string> bytes = encodeSettings(values);
  if (!bytes || !file_.replace(*bytes)) return std::nullopt;
  return values;
}

}  // namespace lumora
