#pragma once

#include <chrono>
#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "lumora/Platform/Value.h"

/// Values as bytes, for runtimes where one call across with an array is much cheaper than one for each part
/// of a value. Their side is in bindings/java/lumora/Packed.java and bindings/csharp/Packed.cs.
///
/// A value is a tag and what follows it; numbers have their lowest byte first, a size has four bytes:
///
///     n             null                 s size bytes        a text, as UTF-8
///     t, f          true, false          b size bytes        data
///     i, u + 8      a whole number,      l size values       a list
///                   signed or not        m size pairs        a map: each key a size and bytes
///     d + 8         a double             w + 8               a date, in microseconds since 1970
namespace lumora::bindings {

using TextMap = std::map<std::string, std::string, std::less<>>;

std::string packed(const Value& value);
/// What the other side has packed; it is complete. Null is null.
Value unpacked(const void* bytes);

/// What else crosses goes as a value.
inline Value valueOf(Value value) {
  return value;
}
inline Value valueOf(std::chrono::milliseconds duration) {
  return Value(static_cast<long long>(duration.count()));
}
Value valueOf(const TextMap& texts);
Value valueOf(const std::vector<std::string>& texts);

template <typename T>
Value valueOf(const std::optional<T>& value) {
  return value ? valueOf(*value) : Value();
}

/// The reverse. Another kind of value, which the other side has not let through, changes nothing.
void read(const Value& value, std::string& text);
/// The view lives as long as the value.
void read(const Value& value, std::string_view& text);
void read(const Value& value, Value& copy);
void read(const Value& value, Dictionary& map);
void read(const Value& value, Data& data);
void read(const Value& value, Date& date);
void read(const Value& value, std::chrono::milliseconds& duration);
void read(const Value& value, TextMap& texts);
void read(const Value& value, std::vector<std::string>& texts);

template <typename T>
void read(const Value& value, std::optional<T>& converted) {
  converted.reset();
  if (!value.isNull()) read(value, converted.emplace());
}

}  // namespace lumora::bindings
