#include <date/date.h>

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

}  // namespace

Value LMRDataManager::JSONSerializableObjectForObject(const Value& object) const {
  switch (object.kind()) {
    case Value::Kind::string:
    case Value::Kind::number:
    case Value::Kind::null:
      return object;
    case Value::Kind::list:
      return coercedList(*object.asList());
    case Value::Kind::map:
      return coercedMap(object);
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

Value LMRDataManager::coercedList(const List& list) const {
  List coerced;
  coerced.reserve(list.size());
  for (const Value& item : list) coerced.push_back(JSONSerializableObjectForObject(item));
  return coerced;
}

Value LMRDataManager::coercedMap(const Value& map) const {
  Dictionary coerced;
  if (const Dictionary* entries = map.asDictionary()) {
    for (const auto& [key, value] : *entries) coerced.emplace(key, JSONSerializableObjectForObject(value));
    return coerced;
  }
  for (const auto& [key, value] : *map.asMixedMap()) {
    std::string text = coercedKey(key);
    coerced.insert_or_assign(std::move(text), JSONSerializableObjectForObject(value));
  }
  return coerced;
}

std::optional<std::string> LMRDataManager::JSONSerializeObject(const Value& object) const {
  const Value coerced = JSONSerializableObjectForObject(object);
  if (!coerced.asDictionary() && !coerced.asList()) {
    logLine("LumoraSDK-{} exception encoding api data: {}", managerDescription,
            "a JSON text must be a list or a map");
    return std::nullopt;
  }
  auto bytes = writeJSON(coerced);
  if (!bytes) {
    logLine("LumoraSDK-{} error encoding api data: {}", managerDescription,
            "a number is not finite, a text is not UTF-8, or the value is nested too deeply");
  }
  return bytes;
}

}  // namespace lumora
