// The dynamic value: conversions as the platform makes them, descriptions for log lines, and an end and a
// comparison without recursion. JSON is JSON.cpp's business, the settings file's form SettingsFormat.cpp's.
#include "lumora/Platform/Value.h"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <limits>
#include <tuple>
#include <utility>

#include "lumora/Platform/ASCII.h"
#include "lumora/Platform/Texts.h"

namespace lumora {
namespace {

/// Values that wait to be taken apart on this thread; null while none is.
thread_local std::vector<Value>* dismantling = nullptr;

/// Converts as the platform does: toward zero, the range's end for what lies outside, 0 for what is no
/// number.
std::int64_t truncated(double value) {
  // The largest number of 64 bits is none that a double can hold; the next one is.
  constexpr double limit = 9223372036854775808.0;  // 2^63
  if (std::isnan(value)) return 0;
  if (value >= limit) return std::numeric_limits<std::int64_t>::max();
  if (value <= -limit) return std::numeric_limits<std::int64_t>::min();
  return static_cast<std::int64_t>(value);
}

std::string_view trimmedStart(std::string_view text) {
  const auto first = text.find_first_not_of(" \t\n\r");
  return first == std::string_view::npos ? std::string_view{} : text.substr(first);
}

double leadingDouble(std::string_view text) {
  text = trimmedStart(text);
  if (text.starts_with('+')) text.remove_prefix(1);
  const std::string_view digits = text.starts_with('-') ? text.substr(1) : text;
  // Only digits begin a number; the words for infinity and not-a-number do not count.
  if (digits.empty() || (!isASCIIDigit(digits.front()) && digits.front() != '.')) return 0;
  double value = 0;
  const auto result = std::from_chars(text.data(), text.data() + text.size(), value);
  if (result.ec == std::errc::result_out_of_range) {
    return text.starts_with('-') ? -std::numeric_limits<double>::infinity()
                                 : std::numeric_limits<double>::infinity();
  }
  return value;
}

std::int64_t leadingInteger(std::string_view text) {
  text = trimmedStart(text);
  if (text.starts_with('+')) text.remove_prefix(1);
  std::int64_t value = 0;
  const auto result = std::from_chars(text.data(), text.data() + text.size(), value);
  if (result.ec == std::errc::result_out_of_range) return truncated(leadingDouble(text));
  return value;
}

bool leadingTruth(std::string_view text) {
  text = trimmedStart(text);
  if (text.starts_with('+') || text.starts_with('-')) text.remove_prefix(1);
  text.remove_prefix(std::min(text.find_first_not_of('0'), text.size()));
  if (text.empty()) return false;
  const char first = toASCIILower(text.front());
  return first == 'y' || first == 't' || (first >= '1' && first <= '9');
}

template <typename Items, typename Describe>
std::string describeItems(const Items& items, char open, char close, Describe describe) {
  std::string text(1, open);
  bool isFirst = true;
  for (const auto& item : items) {
    if (!std::exchange(isFirst, false)) text += ", ";
    text += describe(item);
  }
  text += close;
  return text;
}

}  // namespace

double secondsSince1970(Date date) {
  return std::chrono::duration<double>(date.time_since_epoch()).count();
}

Date dateFromSeconds(double secondsSince1970) {
  return Date(Date::duration(truncated(std::round(secondsSince1970 * 1e6))));
}

Value::Value(unsigned long long value) noexcept
    : storage_(Integer{static_cast<std::int64_t>(value),
                       value >> 63 == 0 ? NumberKind::longLong : NumberKind::unsignedLongLong}) {}
Value::Value(List list) : storage_(std::make_shared<List>(std::move(list))) {}
Value::Value(Dictionary map) : storage_(std::make_shared<Dictionary>(std::move(map))) {}
Value::Value(MixedMap map) : storage_(std::make_shared<MixedMap>(std::move(map))) {}

bool Value::ownsNestedValues() const noexcept {
  const auto isSoleOwner = [this]<typename Held>(std::type_identity<Held>) {
    const auto* held = std::get_if<std::shared_ptr<Held>>(&storage_);
    // Two threads that let go at once may both see two owners. The members then end by recursion, but by one
    // level only: each of them is looked at in turn.
    return held && *held && held->use_count() == 1;
  };
  return isSoleOwner(std::type_identity<List>()) || isSoleOwner(std::type_identity<Dictionary>()) ||
         isSoleOwner(std::type_identity<MixedMap>());
}

Value::~Value() {
  if (!ownsNestedValues()) return;
  try {
    if (dismantling) {
      dismantling->push_back(std::move(*this));
      return;
    }
    std::vector<Value> pending;
    dismantling = &pending;
    storage_ = std::monostate{};
    while (!pending.empty()) {
      const Storage next = std::move(pending.back().storage_);
      pending.back().storage_ = std::monostate{};
      pending.pop_back();
    }
    dismantling = nullptr;
  } catch (...) {
    // Without memory for the list the members are taken apart by recursion.
    dismantling = nullptr;
  }
}

Value::Kind Value::kind() const noexcept {
  // By the alternatives of `Storage`, in their order.
  constexpr Kind kinds[] = {Kind::null, Kind::number, Kind::number, Kind::string, Kind::date,  Kind::url,
                            Kind::data, Kind::list,   Kind::map,    Kind::map,    Kind::opaque};
  return kinds[storage_.index()];
}

const Data* Value::asData() const noexcept {
  const auto* held = std::get_if<std::shared_ptr<Data>>(&storage_);
  return held ? held->get() : nullptr;
}

const List* Value::asList() const noexcept {
  const auto* held = std::get_if<std::shared_ptr<List>>(&storage_);
  return held ? held->get() : nullptr;
}

const Dictionary* Value::asDictionary() const noexcept {
  const auto* held = std::get_if<std::shared_ptr<Dictionary>>(&storage_);
  return held ? held->get() : nullptr;
}

const MixedMap* Value::asMixedMap() const noexcept {
  const auto* held = std::get_if<std::shared_ptr<MixedMap>>(&storage_);
  return held ? held->get() : nullptr;
}

const Value::Opaque* Value::asOpaque() const noexcept {
  const auto* held = std::get_if<std::shared_ptr<Opaque>>(&storage_);
  return held ? held->get() : nullptr;
}

std::optional<Value::NumberKind> Value::numberKind() const noexcept {
  if (const auto* integer = std::get_if<Integer>(&storage_)) return integer->kind;
  if (const auto* real = std::get_if<Real>(&storage_)) return real->kind;
  return std::nullopt;
}

const Value::Integer* Value::asUnsigned() const noexcept {
  const auto* integer = std::get_if<Integer>(&storage_);
  return integer && integer->kind == NumberKind::unsignedLongLong ? integer : nullptr;
}

std::int64_t Value::integerValue() const noexcept {
  // Beyond the signed range, whose end holds.
  if (asUnsigned()) return std::numeric_limits<std::int64_t>::max();
  if (const auto* integer = std::get_if<Integer>(&storage_)) return integer->value;
  if (const auto* real = std::get_if<Real>(&storage_)) return truncated(real->value);
  if (const auto* text = asString()) return leadingInteger(*text);
  return 0;
}

double Value::doubleValue() const noexcept {
  if (const auto* large = asUnsigned()) return static_cast<double>(static_cast<std::uint64_t>(large->value));
  if (const auto* integer = std::get_if<Integer>(&storage_)) return static_cast<double>(integer->value);
  if (const auto* real = std::get_if<Real>(&storage_)) return real->value;
  if (const auto* text = asString()) return leadingDouble(*text);
  return 0;
}

bool Value::boolValue() const noexcept {
  // Of any stored kind, a fraction below one included.
  if (isNumber()) return doubleValue() != 0;
  if (const auto* text = asString()) return leadingTruth(*text);
  return false;
}

std::string Value::description() const {
  return description(0);
}

std::string Value::numberText() const {
  // With the digits that a float has: as a double 0.1 would end in digits that nobody wrote.
  if (numberKind() == NumberKind::floating) return fmt::format("{}", static_cast<float>(doubleValue()));
  if (isFloatingPoint()) return fmt::format("{}", doubleValue());
  if (const auto* large = asUnsigned()) return fmt::format("{}", static_cast<std::uint64_t>(large->value));
  return fmt::format("{}", integerValue());
}

std::string Value::description(int depth) const {
  constexpr int deepest = 64;  // A log line must not overflow the stack.
  const auto describe = [depth](const Value& item) {
    return depth < deepest ? item.description(depth + 1) : std::string("...");
  };
  switch (kind()) {
    case Kind::null:
      return "<null>";
    case Kind::number:
      return numberText();
    case Kind::string:
      return *asString();
    case Kind::data:
      return "<" + hexadecimalText(*asData()) + ">";
    case Kind::date:
      return fmt::format("{:f} seconds since 1970", secondsSince1970(*asDate()));
    case Kind::url:
      return asURL()->absoluteString();
    case Kind::list:
      return describeItems(*asList(), '(', ')', describe);
    case Kind::map:
      if (const auto* mixed = asMixedMap()) {
        return describeItems(*mixed, '{', '}', [&describe](const auto& entry) {
          return describe(entry.first) + " = " + describe(entry.second);
        });
      }
      return describeItems(*asDictionary(), '{', '}', [&describe](const auto& entry) {
        return entry.first + " = " + describe(entry.second);
      });
    case Kind::opaque:
      return asOpaque()->description;
  }
  return {};
}

std::string Value::kindName() const {
  switch (kind()) {
    case Kind::null:
      return "null";
    case Kind::number:
      return "number";
    case Kind::string:
      return "string";
    case Kind::data:
      return "data";
    case Kind::date:
      return "date";
    case Kind::url:
      return "URL";
    case Kind::list:
      return "list";
    case Kind::map:
      return "map";
    case Kind::opaque:
      return asOpaque()->kindName;
  }
  return {};
}

bool Value::isSameNumber(const Value& left, const Value& right) {
  // As doubles, which do not tell large neighbours apart, where either is one.
  if (left.isFloatingPoint() || right.isFloatingPoint()) return left.doubleValue() == right.doubleValue();
  const auto& one = std::get<Integer>(left.storage_);
  const auto& other = std::get<Integer>(right.storage_);
  return one.value == other.value && (left.asUnsigned() != nullptr) == (right.asUnsigned() != nullptr);
}

bool Value::isSameMap(const Value& left, const Value& right, Pairs& members) {
  if (left.asMixedMap() && right.asMixedMap()) {
    return std::ranges::equal(*left.asMixedMap(), *right.asMixedMap(), [&](const auto& a, const auto& b) {
      // In order: two maps with the same members in another order differ.
      members.insert(members.end(), {{&a.first, &b.first}, {&a.second, &b.second}});
      return true;
    });
  }
  return left.asDictionary() && right.asDictionary() &&
         std::ranges::equal(*left.asDictionary(), *right.asDictionary(), [&](const auto& a, const auto& b) {
           members.emplace_back(&a.second, &b.second);
           return a.first == b.first;
         });
}

/// Leaves the members of lists and maps to the caller.
bool Value::isSame(const Value& left, const Value& right, Pairs& members) {
  if (left.kind() != right.kind()) return false;
  switch (left.kind()) {
    case Kind::null:
      return true;
    case Kind::number:
      return isSameNumber(left, right);
    case Kind::string:
      return *left.asString() == *right.asString();
    case Kind::data:
      return *left.asData() == *right.asData();
    case Kind::date:
      return *left.asDate() == *right.asDate();
    case Kind::url:
      return *left.asURL() == *right.asURL();
    case Kind::list:
      return std::ranges::equal(*left.asList(), *right.asList(), [&](const auto& a, const auto& b) {
        members.emplace_back(&a, &b);
        return true;
      });
    case Kind::map:
      return isSameMap(left, right, members);
    case Kind::opaque:
      return *left.asOpaque() == *right.asOpaque();
  }
  return false;
}

bool operator==(const Value& left, const Value& right) {
  Value::Pairs pending;  // Reserves nothing for what has no members.
  const Value* one = &left;
  const Value* other = &right;
  while (Value::isSame(*one, *other, pending)) {
    if (pending.empty()) return true;
    std::tie(one, other) = pending.back();
    pending.pop_back();
  }
  return false;
}

const Value* findValue(const Dictionary& map, std::string_view key) noexcept {
  const auto entry = map.find(key);
  return entry == map.end() || entry->second.isNull() ? nullptr : &entry->second;
}

const std::string* findText(const Dictionary& map, std::string_view key) noexcept {
  const Value* value = findValue(map, key);
  return value ? value->asString() : nullptr;
}

const Dictionary* findMap(const Dictionary& map, std::string_view key) noexcept {
  const Value* value = findValue(map, key);
  return value ? value->asDictionary() : nullptr;
}

}  // namespace lumora
