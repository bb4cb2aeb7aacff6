// The settings file's text, in which every value keeps its kind. What it cannot hold is refused by an
// exception, as SettingsStore allows; when it is read and written is LinuxSettingsStore's business.
#include "lumora/Platform/Linux/Files/SettingsFormat.h"

#include <cmath>
#include <stdexcept>

#include "lumora/Platform/JSON.h"
#include "lumora/Platform/Linux/Files/Base64.h"

namespace lumora {
namespace {

constexpr int kVersion = 1;
/// The file's own levels of JSON around each value. Nothing else limits the depth: what can be read can be
/// written.
constexpr int kLevelsOfFile = 2;

[[noreturn]] void refuse(const char* reason) {
  throw std::invalid_argument(reason);
}

const std::string& checkedText(const std::string& text) {
  if (!isUTF8(text)) refuse("a text that is not UTF-8 cannot be stored");
  return text;
}

Value encodeNumber(const Value& number) {
  if (number.isBoolean() || number.numberKind() == Value::NumberKind::unsignedLongLong) return number;
  if (!number.isFloatingPoint()) return static_cast<long long>(number.integerValue());
  if (!std::isfinite(number.doubleValue())) refuse("a number that is not finite cannot be stored");
  return number.doubleValue();
}

int deeper(int depth, int levels) {
  if (depth + levels > kMaximumJSONDepth) refuse("a value that is nested too deeply cannot be stored");
  return depth + levels;
}

/// `depth` counts the levels of JSON around the value; a map takes two of its own, what else is no plain
/// number or text takes one.
Value encode(const Value& value, int depth) {
  switch (value.kind()) {
    case Value::Kind::number:
      return encodeNumber(value);
    case Value::Kind::string:
      return checkedText(*value.asString());
    case Value::Kind::date:
      deeper(depth, 1);
      return Dictionary{{"date", static_cast<long long>(value.asDate()->time_since_epoch().count())}};
    case Value::Kind::data:
      deeper(depth, 1);
      return Dictionary{{"data", base64Encoded(*value.asData())}};
    case Value::Kind::list: {
      List list;
      const int inside = deeper(depth, 1);
      for (const Value& item : *value.asList()) list.push_back(encode(item, inside));
      return list;
    }
    case Value::Kind::map: {
      if (!value.asDictionary()) refuse("a map with keys that are no texts cannot be stored");
      Dictionary map;
      const int inside = deeper(depth, 2);
      for (const auto& [key, item] : *value.asDictionary()) map[checkedText(key)] = encode(item, inside);
      return Dictionary{{"map", std::move(map)}};
    }
    default:
      refuse("a value of this kind cannot be stored");
  }
}

std::optional<Value> decode(const Value& json);

std::optional<Dictionary> decodeMembers(const Dictionary& members) {
  Dictionary map;
  for (const auto& [key, member] : members) {
    std::optional<Value> value = decode(member);
    if (!value) return std::nullopt;
    map.emplace_hint(map.end(), key, std::move(*value));
  }
  return map;
}

std::optional<Value> decodeTagged(const Dictionary& object) {
  // A host's own map never stands here bare: it is the content of a "map".
  if (object.size() != 1) return std::nullopt;
  const auto& [tag, content] = *object.begin();
  if (tag == "date" && content.numberKind() == Value::NumberKind::longLong) {
    return Value(Date(Date::duration(content.integerValue())));
  }
  if (tag == "data" && content.asString()) {
    if (auto bytes = base64Decoded(*content.asString())) return Value(std::move(*bytes));
  }
  if (tag == "map" && content.asDictionary()) {
    if (auto map = decodeMembers(*content.asDictionary())) return Value(std::move(*map));
  }
  return std::nullopt;
}

std::optional<Value> decode(const Value& json) {
  switch (json.kind()) {
    case Value::Kind::number:
    case Value::Kind::string:
      return json;
    case Value::Kind::list: {
      List list;
      for (const Value& item : *json.asList()) {
        std::optional<Value> value = decode(item);
        if (!value) return std::nullopt;
        list.push_back(std::move(*value));
      }
      return Value(std::move(list));
    }
    case Value::Kind::map:
      return decodeTagged(*json.asDictionary());
    default:
      return std::nullopt;
  }
}

}  // namespace

Value storableSetting(std::string_view key, const Value& value) {
  if (!isUTF8(key)) refuse("a key that is not UTF-8 cannot be stored");
  // Through the file's form and back, so that this run sees what the next one will.
  return *decode(encode(value, kLevelsOfFile));
}

std::optional<std::string> encodeSettings(const Dictionary& values) {
  Dictionary encoded;
  for (const auto& [key, value] : values)
    encoded.emplace_hint(encoded.end(), key, encode(value, kLevelsOfFile));
  return writeJSON(Dictionary{{"version", kVersion}, {"values", std::move(encoded)}}, JSONStyle::pretty);
}

std::optional<Dictionary> decodeSettings(std::string_view text) {
  const std::optional<Value> file = parseJSON(text);
  const Dictionary* object = file ? file->asDictionary() : nullptr;
  if (!object) return std::nullopt;
  const Value* version = findValue(*object, "version");
  const Value* values = findValue(*object, "values");
  if (!version || *version != Value(kVersion) || !values || !values->asDictionary()) return std::nullopt;
  return decodeMembers(*values->asDictionary());
}

}  // namespace lumora
