// The settings store as the library uses it: every write is flushed, a refusal is logged and not thrown. What
// the keys mean is in LMRSettingsKeys.h, where values are kept is the platform's SettingsStore's business.
#include <stdexcept>

#include "lumora/Platform/JSON.h"
#include "lumora/Util/LMRUtil.h"
#include "lumora/Util/LogRefusal.h"

namespace lumora {
namespace {

void storeAndFlush(std::string_view key, const Value& value) {
  SettingsStore& settings = platform().settings;
  settings.setObject(key, value);
  // A flush that fails is not repeated here: the store keeps the change for its next one.
  settings.synchronize();
}

/// What an archive begins with whose texts are not UTF-8. A plain one is JSON and begins with a brace.
constexpr std::string_view kBytesMark = "bytes:";

/// JSON texts are UTF-8; any byte can stand in one as the character of its number.
std::string textFromBytes(const std::string& bytes) {
  std::string text;
  for (const char c : bytes) {
    const auto byte = static_cast<unsigned char>(c);
    if (byte >= 0x80) text += static_cast<char>(0xC0 | byte >> 6);
    text += static_cast<char>(byte >= 0x80 ? 0x80 | (byte & 0x3F) : byte);
  }
  return text;
}

/// The reverse, for a text that is UTF-8. Characters that stand for no byte lose their upper bits.
std::string bytesFromText(const std::string& text) {
  std::string bytes;
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    const bool continues = (byte & 0xC0) == 0x80 && !bytes.empty();
    if (continues) {
      bytes.back() = static_cast<char>(static_cast<unsigned char>(bytes.back()) << 6 | (byte & 0x3F));
    } else {
      bytes += c;
    }
  }
  return bytes;
}

using Conversion = std::string (*)(const std::string& text);

Value convertTexts(const Value& value, Conversion convert, int depth);

Dictionary convertTexts(const Dictionary& map, Conversion convert, int depth) {
  Dictionary converted;
  for (const auto& [key, item] : map) converted[convert(key)] = convertTexts(item, convert, depth + 1);
  return converted;
}

Value convertTexts(const Value& value, Conversion convert, int depth) {
  if (depth > kMaximumJSONDepth) return value;  // Too deep to be written anyway.
  if (const auto* text = value.asString()) return convert(*text);
  if (const auto* map = value.asDictionary()) return convertTexts(*map, convert, depth);
  if (!value.asList()) return value;
  List converted;
  for (const Value& item : *value.asList()) converted.push_back(convertTexts(item, convert, depth + 1));
  return converted;
}

Value archiveOf(const Archivable& object) {
  Coder coder;
  object.encodeWithCoder(coder);
  // Plain JSON wherever it will do; the mark is only for what it cannot hold.
  std::optional<std::string> archive = writeJSON(coder);
  if (!archive) {
    archive = writeJSON(convertTexts(coder, textFromBytes, 0));
    if (!archive) throw std::invalid_argument("the object cannot be archived");
    archive->insert(0, kBytesMark);
  }
  return Data(archive->begin(), archive->end());
}

}  // namespace

std::string LMRUtil::getStringForKey(std::string_view key) {
  const Value stored = platform().settings.object(key);
  if (const auto* text = stored.asString()) return *text;
  return stored.isNumber() ? stored.description() : std::string();
}

std::int64_t LMRUtil::getIntForkey(std::string_view key) {
  return platform().settings.object(key).integerValue();
}

bool LMRUtil::getBoolForKey(std::string_view key) {
  return platform().settings.object(key).boolValue();
}

void LMRUtil::setObject(const Value& value, std::string_view key) {
  if (!isObjectNull(value)) logRefusalOf([&] { storeAndFlush(key, value); });
}

void LMRUtil::setInt(std::int64_t value, std::string_view key) {
  logRefusalOf([&] { storeAndFlush(key, static_cast<long long>(value)); });
}

void LMRUtil::setBool(bool value, std::string_view key) {
  logRefusalOf([&] { storeAndFlush(key, value); });
}

void LMRUtil::setDataObject(const Archivable* object, std::string_view key) {
  if (object) logRefusalOf([&] { storeAndFlush(key, archiveOf(*object)); });
}

std::optional<Coder> LMRUtil::getDataObjectForKey(std::string_view key) {
  const Value stored = platform().settings.object(key);
  const Data* archive = stored.asData();
  if (!archive) return std::nullopt;
  std::string_view text(reinterpret_cast<const char*>(archive->data()), archive->size());
  const bool holdsBytes = text.starts_with(kBytesMark);
  if (holdsBytes) text.remove_prefix(kBytesMark.size());
  const auto decoded = parseJSON(text);
  const Dictionary* fields = decoded ? decoded->asDictionary() : nullptr;
  if (!fields) return std::nullopt;
  // Back to the bytes that went in, whether or not they are a text.
  return holdsBytes ? convertTexts(*fields, bytesFromText, 0) : *fields;
}

}  // namespace lumora
