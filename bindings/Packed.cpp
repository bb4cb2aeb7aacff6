// Values as bytes, and back.
#include "bindings/Packed.h"

#include <bit>
#include <cstdint>
#include <cstring>

namespace lumora::bindings {
namespace {

static_assert(std::endian::native == std::endian::little, "numbers are copied as they are");

template <typename Number>
void put(std::string& bytes, Number number) {
  char copy[sizeof number];
  std::memcpy(copy, &number, sizeof number);
  bytes.append(copy, sizeof number);
}

void put(std::string& bytes, char tag, std::size_t size) {
  bytes += tag;
  put(bytes, static_cast<std::uint32_t>(size));
}

void put(std::string& bytes, char tag, std::string_view text) {
  put(bytes, tag, text.size());
  bytes += text;
}

void put(std::string& bytes, const Value& value);

void putMap(std::string& bytes, const Dictionary& map) {
  put(bytes, 'm', map.size());
  for (const auto& [key, value] : map) {
    put(bytes, static_cast<std::uint32_t>(key.size()));
    bytes += key;
    put(bytes, value);
  }
}

/// The keys of such a map become texts.
Dictionary textKeyed(const MixedMap& map) {
  Dictionary made;
  for (const auto& [key, value] : map) {
    made.emplace(key.asString() != nullptr ? *key.asString() : key.description(), value);
  }
  return made;
}

void putNumber(std::string& bytes, const Value& value) {
  if (value.isBoolean()) {
    bytes += value.boolValue() ? 't' : 'f';
  } else if (value.isFloatingPoint()) {
    bytes += 'd';
    put(bytes, value.doubleValue());
  } else if (value.numberKind() == Value::NumberKind::unsignedLongLong) {
    bytes += 'u';
    put(bytes, std::uint64_t{std::stoull(value.description())});
  } else {
    bytes += 'i';
    put(bytes, value.integerValue());
  }
}

void put(std::string& bytes, const Value& value) {
  switch (value.kind()) {
    case Value::Kind::null:
      bytes += 'n';
      return;
    case Value::Kind::number:
      return putNumber(bytes, value);
    case Value::Kind::string:
      return put(bytes, 's', std::string_view(*value.asString()));
    case Value::Kind::data:
      return put(
          bytes, 'b',
          std::string_view(reinterpret_cast<const char*>(value.asData()->data()), value.asData()->size()));
    case Value::Kind::date:
      bytes += 'w';
      return put(bytes, std::int64_t{value.asDate()->time_since_epoch().count()});
    case Value::Kind::list:
      put(bytes, 'l', value.asList()->size());
      for (const Value& item : *value.asList()) put(bytes, item);
      return;
    case Value::Kind::map:
      return putMap(bytes,
                    value.asDictionary() != nullptr ? *value.asDictionary() : textKeyed(*value.asMixedMap()));
    case Value::Kind::url:
      return put(bytes, 's', std::string_view(value.asURL()->absoluteString()));
    case Value::Kind::opaque:
      return put(bytes, 's', std::string_view(value.description()));
  }
}

class Reader {
 public:
  explicit Reader(const void* bytes) : next_(static_cast<const char*>(bytes)) {}

  Value value() {
    switch (*next_++) {
      case 't':
        return true;
      case 'f':
        return false;
      case 'i':
        return static_cast<long long>(number<std::int64_t>());
      case 'u':
        return static_cast<unsigned long long>(number<std::uint64_t>());
      case 'd':
        return number<double>();
      case 's':
        return std::string(text());
      case 'b': {
        const std::string_view bytes = text();
        return Data(bytes.begin(), bytes.end());
      }
      case 'w':
        return Date(std::chrono::microseconds(number<std::int64_t>()));
      case 'l':
        return list();
      case 'm':
        return map();
      default:
        return {};
    }
  }

 private:
  template <typename Number>
  Number number() {
    Number number;
    std::memcpy(&number, next_, sizeof number);
    next_ += sizeof number;
    return number;
  }
  std::string_view text() {
    const auto size = number<std::uint32_t>();
    const std::string_view text(next_, size);
    next_ += size;
    return text;
  }
  Value list() {
    List list(number<std::uint32_t>());
    for (Value& item : list) item = value();
    return list;
  }
  Value map() {
    Dictionary map;
    for (auto left = number<std::uint32_t>(); left > 0; --left) {
      std::string key(text());
      map.insert_or_assign(std::move(key), value());
    }
    return map;
  }

  const char* next_;
};

}  // namespace

std::string packed(const Value& value) {
  std::string bytes;
  put(bytes, value);
  return bytes;
}

Value unpacked(const void* bytes) {
  return bytes == nullptr ? Value() : Reader(bytes).value();
}

Value valueOf(const TextMap& texts) {
  return Dictionary(texts.begin(), texts.end());
}

Value valueOf(const std::vector<std::string>& texts) {
  return List(texts.begin(), texts.end());
}

void read(const Value& value, std::string& text) {
  if (value.asString() != nullptr) text = *value.asString();
}

void read(const Value& value, std::string_view& text) {
  if (value.asString() != nullptr) text = *value.asString();
}

void read(const Value& value, Value& copy) {
  copy = value;
}

void read(const Value& value, Dictionary& map) {
  if (value.asDictionary() != nullptr) map = *value.asDictionary();
}

void read(const Value& value, Data& data) {
  if (value.asData() != nullptr) data = *value.asData();
}

void read(const Value& value, Date& date) {
  if (value.asDate() != nullptr) date = *value.asDate();
}

void read(const Value& value, std::chrono::milliseconds& duration) {
  duration = std::chrono::milliseconds(value.integerValue());
}

void read(const Value& value, TextMap& texts) {
  if (value.asDictionary() == nullptr) return;
  for (const auto& [key, text] : *value.asDictionary()) read(text, texts[key]);
}

void read(const Value& value, std::vector<std::string>& texts) {
  if (value.asList() == nullptr) return;
  for (const Value& text : *value.asList()) read(text, texts.emplace_back());
}

}  // namespace lumora::bindings
