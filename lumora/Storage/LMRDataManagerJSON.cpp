// Any value as one that JSON can hold. Event records do not come by here: LMRDataManagerEvents.cpp writes
// them as they are, or not at all.
#include <date/date.h>

#include <algorithm>
#include <chrono>

#include "lumora/Platform/JSON.h"
#include "lumora/Storage/LMRDataManager.h"
#include "lumora/Util/Log.h"

namespace lumora {
namespace {

constexpr const char* managerDescription = "<LMRDataManager>";

/// "yyyy-MM-dd'T'HH:mm:ss.SSS'Z'", in UTC. Written without streams: those follow the host's locale, and throw
/// for what lies beyond the calendar's last year.
std::string formattedDate(Date moment) {
  const auto millisecond = std::chrono::floor<std::chrono::milliseconds>(moment);
  const auto day = std::chrono::floor<date::days>(millisecond);
  const date::year_month_day calendar(day);
  const date::hh_mm_ss timeOfDay(millisecond - day);
  return fmt::format("{:04}-{:02}-{:02}T{:02}:{:02}:{:02}.{:03}Z", static_cast<int>(calendar.year()),
                     static_cast<unsigned>(calendar.month()), static_cast<unsigned>(calendar.day()),
                     timeOfDay.hours().count(), timeOfDay.minutes().count(), timeOfDay.seconds().count(),
                     timeOfDay.subseconds().count());
}

std::string coercedKey(const Value& key) {
  if (const auto* text = key.asString()) return *text;
  std::string text = key.description();
  logLine("LumoraSDK-{} warning: property keys should be strings. got: {}. coercing to: {}",
          managerDescription, key.kindName(), text);
  return text;
}

std::string coercedText(const Value& value) {
  std::string text = value.description();
  logLine("LumoraSDK-{} warning: property values should be valid json types. got: {}. coercing to: {}",
          managerDescription, value.kindName(), text);
  return text;
}

/// Nothing for what is nested deeper than JSON can be; how much deeper is not looked at.
std::optional<Value> coercedAt(int depth, const Value& object);

std::optional<Value> coercedList(int depth, const List& list) {
  List coerced;
  coerced.reserve(list.size());
  for (const Value& item : list) {
    auto value = coercedAt(depth, item);
    if (!value) return std::nullopt;
    coerced.push_back(std::move(*value));
  }
  return coerced;
}

std::optional<Value> coercedMap(int depth, const Value& map) {
  Dictionary coerced;
  const auto add = [&](std::string key, const Value& item) {
    auto value = coercedAt(depth, item);
    // Keys that become the same text: the last one holds.
    if (value) coerced.insert_or_assign(std::move(key), std::move(*value));
    return value.has_value();
  };
  const bool isWhole = map.asDictionary()
                           ? std::ranges::all_of(*map.asDictionary(),
                                                 [&](auto& entry) { return add(entry.first, entry.second); })
                           : std::ranges::all_of(*map.asMixedMap(), [&](auto& entry) {
                               return add(coercedKey(entry.first), entry.second);
                             });
  if (!isWhole) return std::nullopt;
  return coerced;
}

std::optional<Value> coercedAt(int depth, const Value& object) {
  switch (object.kind()) {
    case Value::Kind::string:
    case Value::Kind::number:
    case Value::Kind::null:
      return object;
    case Value::Kind::list:
      return depth < kMaximumJSONDepth ? coercedList(depth + 1, *object.asList()) : std::nullopt;
    case Value::Kind::map:
      return depth < kMaximumJSONDepth ? coercedMap(depth + 1, object) : std::nullopt;
    case Value::Kind::date:
      return formattedDate(*object.asDate());
    case Value::Kind::url:
      return object.asURL()->absoluteString();
    case Value::Kind::data:
    case Value::Kind::opaque:
      break;
  }
  return coercedText(object);
}

std::optional<Value> coercedOrLogged(const Value& object) {
  auto coerced = coercedAt(0, object);
  if (!coerced) {
    logLine("LumoraSDK-{} error encoding api data: {}", managerDescription, "the value is nested too deeply");
  }
  return coerced;
}

}  // namespace

Value LMRDataManager::JSONSerializableObjectForObject(const Value& object) const {
  return coercedOrLogged(object).value_or(Value());
}

std::optional<std::string> LMRDataManager::JSONSerializeObject(const Value& object) const {
  const auto coerced = coercedOrLogged(object);
  if (!coerced) return std::nullopt;
  // Stricter than the writer, which prints a bare number or text as well.
  if (!coerced->asDictionary() && !coerced->asList()) {
    logLine("LumoraSDK-{} exception encoding api data: {}", managerDescription,
            "a JSON text must be a list or a map");
    return std::nullopt;
  }
  auto bytes = writeJSON(*coerced);
  if (!bytes) {
    logLine("LumoraSDK-{} error encoding api data: {}", managerDescription,
            "a number is not finite, or a text is not UTF-8");
  }
  return bytes;
}

}  // namespace lumora
