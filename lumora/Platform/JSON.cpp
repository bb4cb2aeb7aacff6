// JSON to values and back, in one pass each: the parser's events build them, a writer of our own prints them.
// What a value must look like to be stored or sent is for the callers to say.
#include "lumora/Platform/JSON.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <nlohmann/json.hpp>
#include <utility>
#include <vector>

namespace lumora {
namespace {

/// Builds values straight from the parser's events, so that no second tree is made.
class ValueBuilder {
 public:
  bool null() { return add(Value()); }
  bool boolean(bool value) { return add(Value(value)); }
  bool number_integer(std::int64_t value) { return add(Value(static_cast<long long>(value))); }
  bool number_unsigned(std::uint64_t value) { return add(Value(value)); }
  // A number beyond every double could not be written again.
  bool number_float(double value, const std::string&) { return std::isfinite(value) && add(Value(value)); }
  bool string(std::string& value) { return add(Value(std::move(value))); }
  // No JSON text has any; the interface asks for it.
  bool binary(std::vector<std::uint8_t>&) { return false; }
  bool start_object(std::size_t) { return open(true); }
  bool key(std::string& value) {
    open_.back().key = std::move(value);
    return true;
  }
  bool end_object() {
    Dictionary map = std::move(open_.back().map);
    open_.pop_back();
    return add(Value(std::move(map)));
  }
  bool start_array(std::size_t) { return open(false); }
  bool end_array() {
    List list = std::move(open_.back().list);
    open_.pop_back();
    return add(Value(std::move(list)));
  }
  bool parse_error(std::size_t, const std::string&, const nlohmann::detail::exception&) { return false; }

  Value take() { return std::move(root_); }

 private:
  struct Container {
    bool isMap;
    std::string key;
    Dictionary map;
    List list;
  };

  bool open(bool isMap) {
    // The builder itself needs no limit, but the writer goes down by recursion, and so may the tree's
    // readers.
    if (open_.size() >= static_cast<std::size_t>(kMaximumJSONDepth)) return false;
    open_.push_back({isMap, {}, {}, {}});
    return true;
  }

  bool add(Value value) {
    if (open_.empty()) {
      root_ = std::move(value);
    } else if (Container& container = open_.back(); container.isMap) {
      container.map.insert_or_assign(std::move(container.key), std::move(value));
    } else {
      container.list.push_back(std::move(value));
    }
    return true;
  }

  std::vector<Container> open_;
  Value root_;
};

class Writer {
 public:
  explicit Writer(JSONStyle style) : pretty_(style == JSONStyle::pretty) { text_.reserve(256); }

  /// Each of these gives false when the value cannot be written; the text is then of no use.
  bool write(const Value& value) {
    switch (value.kind()) {
      case Value::Kind::null:
        text_ += "null";
        return true;
      case Value::Kind::number:
        return writeNumber(value);
      case Value::Kind::string:
        return writeText(*value.asString());
      case Value::Kind::list:
        return writeList(*value.asList());
      case Value::Kind::map:
        return value.asDictionary() && writeMap(*value.asDictionary());  // JSON's keys are texts.
      default:
        return false;
    }
  }

  bool writeMap(const Dictionary& map) {
    return writeMembers('{', '}', map, [this](const auto& entry) {
      if (!writeText(entry.first)) return false;
      text_ += pretty_ ? ": " : ":";
      return write(entry.second);
    });
  }

  std::string take() { return std::move(text_); }

 private:
  bool writeList(const List& list) {
    return writeMembers('[', ']', list, [this](const Value& item) { return write(item); });
  }

  template <typename Members, typename WriteMember>
  bool writeMembers(char open, char close, const Members& members, WriteMember writeMember) {
    if (++depth_ > kMaximumJSONDepth) return false;
    text_ += open;
    bool first = true;
    for (const auto& member : members) {
      if (!std::exchange(first, false)) text_ += ',';
      breakLine();
      if (!writeMember(member)) return false;
    }
    --depth_;
    if (!members.empty()) breakLine();
    text_ += close;
    return true;
  }

  void breakLine() {
    if (!pretty_) return;
    text_ += '\n';
    text_.append(static_cast<std::size_t>(depth_) * 2, ' ');
  }

  bool writeNumber(const Value& value) {
    if (value.isBoolean()) {
      text_ += value.boolValue() ? "true" : "false";
      // `integerValue` would give the end of the signed range.
    } else if (value.numberKind() == Value::NumberKind::unsignedLongLong) {
      text_ += value.description();
    } else if (!value.isFloatingPoint()) {
      std::array<char, 24> digits{};
      const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), value.integerValue()).ptr;
      text_.append(digits.data(), end);
    } else if (std::isfinite(value.doubleValue())) {
      // The library's own text of a number: the shortest that reads back equal.
      std::array<char, 64> digits{};
      char* const end =
          nlohmann::detail::to_chars(digits.data(), digits.data() + digits.size(), value.doubleValue());
      text_.append(digits.data(), end);
    } else {
      return false;
    }
    return true;
  }

  bool writeText(const std::string& text) {
    // Nothing is replaced or left out: a changed text would be another one.
    if (!isUTF8(text)) return false;
    text_ += '"';
    for (const char c : text) writeCharacter(c);
    text_ += '"';
    return true;
  }

  void writeCharacter(char c) {
    constexpr std::string_view escaped = "\"\\\b\f\n\r\t";
    constexpr std::string_view names = "\"\\bfnrt";
    constexpr std::string_view hexDigits = "0123456789abcdef";
    const auto byte = static_cast<unsigned char>(c);
    if (const auto found = escaped.find(c); found != escaped.npos) {
      text_ += {'\\', names[found]};
    } else if (byte < 0x20) {
      text_ += {'\\', 'u', '0', '0', hexDigits[byte / 16], hexDigits[byte % 16]};
    } else {
      text_ += c;
    }
  }

  const bool pretty_;
  int depth_ = 0;
  std::string text_;
};

/// The bytes that a UTF-8 sequence of several may begin with, and what may follow: the first continuation
/// byte's range leaves out overlong forms, surrogates, and what lies beyond U+10FFFF.
struct Sequence {
  std::size_t length;
  unsigned char lowestSecond;
  unsigned char highestSecond;
};

Sequence sequenceFor(unsigned char first) noexcept {
  if (first >= 0xC2 && first <= 0xDF) return {2, 0x80, 0xBF};
  if (first == 0xE0) return {3, 0xA0, 0xBF};
  if (first == 0xED) return {3, 0x80, 0x9F};
  if (first >= 0xE1 && first <= 0xEF) return {3, 0x80, 0xBF};
  if (first == 0xF0) return {4, 0x90, 0xBF};
  if (first >= 0xF1 && first <= 0xF3) return {4, 0x80, 0xBF};
  if (first == 0xF4) return {4, 0x80, 0x8F};
  return {0, 0, 0};
}

/// How many bytes of the beginning are ASCII, in steps of eight.
std::size_t beginningInASCII(std::string_view text) noexcept {
  std::size_t length = 0;
  for (std::uint64_t bytes = 0; length + sizeof bytes <= text.size(); length += sizeof bytes) {
    std::memcpy(&bytes, text.data() + length, sizeof bytes);
    if ((bytes & 0x8080808080808080U) != 0) break;
  }
  return length;
}

}  // namespace

std::optional<Value> parseJSON(std::string_view text) {
  // The parser takes a NUL byte for the end, and what stands behind it for nothing.
  if (text.find('\0') != std::string_view::npos) return std::nullopt;
  ValueBuilder builder;
  try {
    if (!nlohmann::json::sax_parse(text, &builder)) return std::nullopt;
  } catch (const nlohmann::json::exception&) {
    return std::nullopt;  // That memory runs out says nothing about the text; it is let through.
  }
  return builder.take();
}

std::optional<std::string> writeJSON(const Value& value, JSONStyle style) {
  Writer writer(style);
  if (!writer.write(value)) return std::nullopt;
  return writer.take();
}

std::optional<std::string> writeJSON(const Dictionary& map, JSONStyle style) {
  Writer writer(style);
  if (!writer.writeMap(map)) return std::nullopt;
  return writer.take();
}

bool isUTF8(std::string_view text) noexcept {
  text.remove_prefix(beginningInASCII(text));  // Most texts are nothing else.
  const auto* next = reinterpret_cast<const unsigned char*>(text.data());
  const auto* const end = next + text.size();
  while (next != end) {
    const unsigned char first = *next++;
    if (first < 0x80) continue;
    const Sequence sequence = sequenceFor(first);
    if (sequence.length == 0 || sequence.length - 1 > static_cast<std::size_t>(end - next)) return false;
    if (*next < sequence.lowestSecond || *next > sequence.highestSecond) return false;
    const auto* const last = next + (sequence.length - 1);
    while (++next != last) {
      if (*next < 0x80 || *next > 0xBF) return false;
    }
  }
  return true;
}

}  // namespace lumora
