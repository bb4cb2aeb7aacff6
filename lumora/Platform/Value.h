#pragma once

#include <chrono>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <variant>
#include <vector>

#include "lumora/Platform/Export.h"
#include "lumora/Platform/URL.h"

namespace lumora {

class Value;

using Data = std::vector<std::uint8_t>;
using List = std::vector<Value>;
using Dictionary = std::map<std::string, Value, std::less<>>;
/// A map whose keys may be of any kind, in the order in which it is to be walked.
using MixedMap = std::vector<std::pair<Value, Value>>;

/// A point in time; counts from 1970-01-01 UTC.
using Date = std::chrono::time_point<std::chrono::system_clock, std::chrono::microseconds>;

/// Seconds since 1970-01-01 UTC, with their fraction.
LUMORA_EXPORT double secondsSince1970(Date date);

/// The reverse; a count that no Date can hold becomes the nearest one that can.
LUMORA_EXPORT Date dateFromSeconds(double secondsSince1970);

/// The dynamic value that crosses the library's borders: event metadata, settings, decoded JSON.
///
/// A Value is immutable and cheap to copy (lists, maps and data are shared, never changed), so it may be
/// handed from thread to thread without a lock. A default Value is the null marker: it stands for a missing
/// value inside maps and lists, and every null test treats a missing entry and a null marker alike.
///
///     lumora::Dictionary metadata{{"level", 3}, {"score", 12.5}, {"name", "Ada"}};
///     lumora::Value value(metadata);
class LUMORA_EXPORT Value {
 public:
  enum class Kind { null, number, string, data, date, url, list, map, opaque };

  /// How a number was stored; SQLite binding and JSON tell them apart.
  enum class NumberKind {
    boolean,
    character,
    shortInteger,
    integer,
    longInteger,
    longLong,
    unsignedLongLong,  ///< Only what is beyond the signed 64 bits.
    floating,
    doubleFloating
  };

  /// An object of a kind that the library does not know, with the texts that log lines print for it.
  struct Opaque {
    std::string kindName;
    std::string description;
    friend bool operator==(const Opaque&, const Opaque&) = default;
  };

  Value() noexcept = default;
  Value(std::nullptr_t) noexcept {}
  Value(bool value) noexcept : storage_(Integer{value, NumberKind::boolean}) {}
  Value(char value) noexcept : storage_(Integer{value, NumberKind::character}) {}
  Value(short value) noexcept : storage_(Integer{value, NumberKind::shortInteger}) {}
  Value(int value) noexcept : storage_(Integer{value, NumberKind::integer}) {}
  Value(long value) noexcept : storage_(Integer{value, NumberKind::longInteger}) {}
  Value(long long value) noexcept : storage_(Integer{value, NumberKind::longLong}) {}
  Value(unsigned long long value) noexcept;
  Value(unsigned long value) noexcept : Value(static_cast<unsigned long long>(value)) {}
  Value(unsigned int value) noexcept : Value(static_cast<long long>(value)) {}
  Value(float value) noexcept : storage_(Real{static_cast<double>(value), NumberKind::floating}) {}
  Value(double value) noexcept : storage_(Real{value, NumberKind::doubleFloating}) {}
  Value(const char* text) : storage_(std::string(text)) {}
  Value(std::string_view text) : storage_(std::string(text)) {}
  Value(std::string text) noexcept : storage_(std::move(text)) {}
  Value(Date date) noexcept : storage_(date) {}
  Value(URL url) noexcept : storage_(std::move(url)) {}
  Value(Data data) : storage_(std::make_shared<Data>(std::move(data))) {}
  Value(List list);
  Value(Dictionary map);
  Value(MixedMap map);
  Value(Opaque object) : storage_(std::make_shared<Opaque>(std::move(object))) {}
  /// A missing text is the null marker.
  Value(std::optional<std::string> text) {
    if (text) storage_ = std::move(*text);
  }
  /// Pointers would silently become booleans.
  template <typename T>
  requires(!std::is_same_v<std::remove_cv_t<T>, char>) Value(T*)
  = delete;

  Value(const Value&) = default;
  /// Leaves the null marker behind.
  Value(Value&& other) noexcept : storage_(std::exchange(other.storage_, Storage())) {}
  /// Takes a part of the value itself too: what it held ends only after the assignment.
  Value& operator=(Value other) noexcept {
    const Value held = std::move(*this);
    storage_ = std::move(other.storage_);
    return *this;
  }
  /// Takes nested values apart without recursion, so depth alone can never overflow a stack.
  ~Value();

  Kind kind() const noexcept;
  bool isNull() const noexcept { return kind() == Kind::null; }
  bool isNumber() const noexcept { return kind() == Kind::number; }

  /// The content, or a null pointer when the value is of another kind. It lives as long as a Value that
  /// shares it: a List or a map that is to become a part of itself needs a copy of that part first.
  const std::string* asString() const noexcept { return std::get_if<std::string>(&storage_); }
  const Date* asDate() const noexcept { return std::get_if<Date>(&storage_); }
  const URL* asURL() const noexcept { return std::get_if<URL>(&storage_); }
  const Data* asData() const noexcept;
  const List* asList() const noexcept;
  const Dictionary* asDictionary() const noexcept;
  /// A map with keys of any kind; a string-keyed map is not one of these.
  const MixedMap* asMixedMap() const noexcept;
  const Opaque* asOpaque() const noexcept;

  /// How the number was stored; nothing for other kinds.
  std::optional<NumberKind> numberKind() const noexcept;
  /// True for numbers stored as float or double.
  bool isFloatingPoint() const noexcept { return std::holds_alternative<Real>(storage_); }
  /// True only for a stored boolean.
  bool isBoolean() const noexcept { return numberKind() == NumberKind::boolean; }

  /// Conversions as the platform makes them: a number is converted (fractions are cut off, the range's end
  /// holds), a text is read up to its first character that does not belong to a number, anything else is 0.
  std::int64_t integerValue() const noexcept;
  double doubleValue() const noexcept;
  /// A number is true when it is not zero; a text when it begins with `Y`, `y`, `T`, `t` or a digit other
  /// than 0 (after blanks, a sign and zeros); anything else is false.
  bool boolValue() const noexcept;

  /// A readable text, as log lines print it; the null marker reads `<null>`. Members nested deeper than 64
  /// levels are left out.
  std::string description() const;
  /// The name of the kind, as log lines print it.
  std::string kindName() const;

  /// Numbers are equal by what they count, whatever their stored kind. Depth overflows no stack here either.
  friend LUMORA_EXPORT bool operator==(const Value& left, const Value& right);

 private:
  struct Integer {
    std::int64_t value;  ///< The bits of the unsigned kind.
    NumberKind kind;
  };
  struct Real {
    double value;
    NumberKind kind;
  };
  using Storage = std::variant<std::monostate, Integer, Real, std::string, Date, URL, std::shared_ptr<Data>,
                               std::shared_ptr<List>, std::shared_ptr<Dictionary>, std::shared_ptr<MixedMap>,
                               std::shared_ptr<Opaque>>;

  using Pairs = std::vector<std::pair<const Value*, const Value*>>;

  LUMORA_INTERNAL bool ownsNestedValues() const noexcept;
  LUMORA_INTERNAL std::string description(int depth) const;
  LUMORA_INTERNAL std::string numberText() const;
  LUMORA_INTERNAL const Integer* asUnsigned() const noexcept;
  LUMORA_INTERNAL static bool isSameNumber(const Value& left, const Value& right);
  LUMORA_INTERNAL static bool isSameMap(const Value& left, const Value& right, Pairs& members);
  LUMORA_INTERNAL static bool isSame(const Value& left, const Value& right, Pairs& members);

  Storage storage_;
};

/// The entry's value, or a null pointer when the key is absent or holds the null marker.
LUMORA_EXPORT const Value* findValue(const Dictionary& map, std::string_view key) noexcept;
/// The text, or the map, under a key; a null pointer when there is none.
LUMORA_EXPORT const std::string* findText(const Dictionary& map, std::string_view key) noexcept;
LUMORA_EXPORT const Dictionary* findMap(const Dictionary& map, std::string_view key) noexcept;

}  // namespace lumora
