// Settings in memory, with what was flushed apart, so that a test can lose the rest. It refuses what the
// Linux store's file cannot hold (SettingsFormat.cpp).
#include "lumora/Testing/FakeSettingsStore.h"

#include <algorithm>
#include <cmath>
#include <stdexcept>

#include "lumora/Platform/JSON.h"

namespace lumora::testing {
namespace {

/// How deep a value may be nested, as in the Linux store's file: a map counts twice.
constexpr int kMaximumDepth = 510;

bool isStorable(const Value& value, int depth) {
  if (depth > kMaximumDepth) return false;
  switch (value.kind()) {
    case Value::Kind::number:
      return std::isfinite(value.doubleValue());
    case Value::Kind::string:
      return isUTF8(*value.asString());
    case Value::Kind::data:
    case Value::Kind::date:
      return depth < kMaximumDepth;
    case Value::Kind::list:
      return depth < kMaximumDepth && std::ranges::all_of(*value.asList(), [&](const Value& item) {
               return isStorable(item, depth + 1);
             });
    case Value::Kind::map:
      return depth + 1 < kMaximumDepth && value.asDictionary() &&
             std::ranges::all_of(*value.asDictionary(), [&](const auto& entry) {
               return isUTF8(entry.first) && isStorable(entry.second, depth + 2);
             });
    default:
      return false;
  }
}

void requireStorable(std::string_view key, const Value& value) {
  if (!isUTF8(key) || !isStorable(value, 0)) throw std::invalid_argument("the value cannot be stored");
}

}  // namespace

Value FakeSettingsStore::object(std::string_view key) {
  Lock lock(mutex_);
  const Value* value = findValue(values_, key);
  return value ? *value : Value();
}

void FakeSettingsStore::setObject(std::string_view key, const Value& value) {
  requireStorable(key, value);
  Lock lock(mutex_);
  if (refusesChanges_) throw std::runtime_error("the store refuses changes");
  if (!ignoresWrites_) values_.insert_or_assign(std::string(key), value);
}

void FakeSettingsStore::removeObject(std::string_view key) {
  Lock lock(mutex_);
  values_.erase(std::string(key));
}

bool FakeSettingsStore::synchronize() {
  Lock lock(mutex_);
  ++flushCount_;
  if (values_ == flushed_) return true;
  if (flushFails_) return false;
  flushed_ = values_;
  return true;
}

Value FakeSettingsStore::setObjectIfAbsent(std::string_view key, const Value& value) {
  requireStorable(key, value);
  {
    Lock lock(mutex_);
    if (const Value* present = findValue(values_, key)) return *present;
    if (refusesChanges_) throw std::runtime_error("the store refuses changes");
    if (!ignoresWrites_) values_.insert_or_assign(std::string(key), value);
  }
  synchronize();
  return value;
}

void FakeSettingsStore::setRefusesChanges(bool refuses) {
  Lock lock(mutex_);
  refusesChanges_ = refuses;
}

void FakeSettingsStore::setIgnoresWrites(bool ignores) {
  Lock lock(mutex_);
  ignoresWrites_ = ignores;
}

void FakeSettingsStore::setFlushFails(bool fails) {
  Lock lock(mutex_);
  flushFails_ = fails;
}

void FakeSettingsStore::loseUnflushedChanges() {
  Lock lock(mutex_);
  values_ = flushed_;
}

void FakeSettingsStore::clear() {
  Lock lock(mutex_);
  values_.clear();
  flushed_.clear();
}

Dictionary FakeSettingsStore::values() const {
  Lock lock(mutex_);
  return values_;
}

Dictionary FakeSettingsStore::flushedValues() const {
  Lock lock(mutex_);
  return flushed_;
}

int FakeSettingsStore::flushCount() const {
  Lock lock(mutex_);
  return flushCount_;
}

}  // namespace lumora::testing
