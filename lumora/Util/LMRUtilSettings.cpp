#include <exception>
#include <stdexcept>

#include "lumora/Platform/JSON.h"
#include "lumora/Util/LMRUtil.h"
#include "lumora/Util/Log.h"

namespace lumora {
namespace {

/// A store may refuse a value, and an object its archiving, by an exception; nothing is stored then.
template <typename Write>
void logRefusalOf(const Write& write) {
  try {
    write();
  } catch (const std::exception& refusal) {
    logLine("LumoraSDK-{}", refusal.what());
  }
}

void storeAndFlush(std::string_view key, const Value& value) {
  SettingsStore& settings = platform().settings;
  settings.setObject(key, value);
  settings.synchronize();
}

Value archiveOf(const Archivable& object) {
  Coder coder;
  object.encodeWithCoder(coder);
  const auto archive = writeJSON(coder);
  if (!archive) throw std::invalid_argument("the object cannot be archived");
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
  const auto decoded = parseJSON(std::string(archive->begin(), archive->end()));
  const Dictionary* fields = decoded ? decoded->asDictionary() : nullptr;
  if (!fields) return std::nullopt;
  return *fields;
}

}  // namespace lumora
