// Settings as JSON and back. The settings file has another form (SettingsFormat.cpp): this one is for people
// who type.
#include "hosts/terminal/SettingJSON.h"

#include <cmath>

#include "hosts/terminal/Base64.h"
#include "hosts/terminal/CommandLine/Arguments.h"

namespace lumora_host {

using lumora::Dictionary;
using lumora::List;
using lumora::Value;

namespace {

Value numberOfSeconds(lumora::Date date) {
  const double seconds = lumora::secondsSince1970(date);
  if (seconds == std::trunc(seconds)) return static_cast<long long>(seconds);
  return seconds;
}

template <typename Convert>
Value convertMembers(const Value& value, Convert convert) {
  if (const List* list = value.asList()) {
    List converted;
    for (const Value& item : *list) converted.push_back(convert(item));
    return converted;
  }
  if (const Dictionary* map = value.asDictionary()) {
    Dictionary converted;
    for (const auto& [key, item] : *map) converted.emplace(key, convert(item));
    return converted;
  }
  return value;
}

Value dateFromJSON(const Value& seconds) {
  if (!seconds.isNumber() || seconds.isBoolean()) throw CommandError("a date needs a number of seconds");
  return lumora::dateFromSeconds(seconds.doubleValue());
}

Value dataFromJSON(const Value& text) {
  const auto bytes = text.asString() == nullptr ? std::nullopt : decodeBase64(*text.asString());
  if (!bytes) throw CommandError("bytes need a base64 text");
  return *bytes;
}

}  // namespace

Value settingToJSON(const Value& value) {
  if (const lumora::Date* date = value.asDate()) return Dictionary{{"date", numberOfSeconds(*date)}};
  if (const lumora::Data* data = value.asData()) return Dictionary{{"base64", encodeBase64(*data)}};
  return convertMembers(value, settingToJSON);
}

Value settingFromJSON(const Value& json) {
  if (const Dictionary* map = json.asDictionary(); map != nullptr && map->size() == 1) {
    const auto& [key, content] = *map->begin();
    if (key == "date") return dateFromJSON(content);
    if (key == "base64") return dataFromJSON(content);
  }
  return convertMembers(json, settingFromJSON);
}

}  // namespace lumora_host
