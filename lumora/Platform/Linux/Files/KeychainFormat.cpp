// The keychain file's text. One item that cannot be read makes the whole file unreadable: left out, it would
// be lost with the next change. Matching and locks are in LinuxKeychain.cpp.
#include "lumora/Platform/Linux/Files/KeychainFormat.h"

#include <utility>

#include "lumora/Platform/JSON.h"
#include "lumora/Platform/Linux/Files/Base64.h"

namespace lumora {
namespace {

constexpr int kVersion = 1;

Value encodeItem(const KeychainItem& item) {
  Dictionary object{{"service", base64Encoded(item.service)},
                    {"generic", base64Encoded(item.generic)},
                    {"account", base64Encoded(item.account)},
                    {"value", base64Encoded(item.value)}};
  if (item.accessGroup) object["access_group"] = base64Encoded(*item.accessGroup);
  return object;
}

std::optional<Data> decodeBytes(const Dictionary& object, std::string_view key) {
  const Value* text = findValue(object, key);
  return text && text->asString() ? base64Decoded(*text->asString()) : std::nullopt;
}

std::optional<std::string> decodeText(const Dictionary& object, std::string_view key) {
  const std::optional<Data> bytes = decodeBytes(object, key);
  if (!bytes) return std::nullopt;
  return std::string(bytes->begin(), bytes->end());
}

std::optional<KeychainItem> decodeItem(const Value& json) {
  const Dictionary* object = json.asDictionary();
  if (!object) return std::nullopt;
  auto service = decodeText(*object, "service");
  auto generic = decodeText(*object, "generic");
  auto account = decodeText(*object, "account");
  auto value = decodeBytes(*object, "value");
  auto accessGroup = decodeText(*object, "access_group");
  // Without a group is something else than with one that cannot be read.
  const bool isGroupBroken = findValue(*object, "access_group") && !accessGroup;
  if (!service || !generic || !account || !value || isGroupBroken) return std::nullopt;
  // The accessibility is not kept: it speaks of a locked screen, which files know nothing of.
  return KeychainItem{std::move(*service),    std::move(*generic),     std::move(*account),
                      std::move(accessGroup), KeychainAccessibility{}, std::move(*value)};
}

}  // namespace

std::string encodeKeychain(const std::vector<KeychainItem>& items) {
  List list;
  for (const KeychainItem& item : items) list.push_back(encodeItem(item));
  // Base64 and version numbers can always be written.
  return *writeJSON(Dictionary{{"version", kVersion}, {"items", std::move(list)}}, JSONStyle::pretty);
}

std::optional<std::vector<KeychainItem>> decodeKeychain(std::string_view text) {
  const std::optional<Value> file = parseJSON(text);
  const Dictionary* object = file ? file->asDictionary() : nullptr;
  if (!object) return std::nullopt;
  const Value* version = findValue(*object, "version");
  const Value* list = findValue(*object, "items");
  if (!version || *version != Value(kVersion) || !list || !list->asList()) return std::nullopt;
  std::vector<KeychainItem> items;
  for (const Value& json : *list->asList()) {
    std::optional<KeychainItem> item = decodeItem(json);
    if (!item) return std::nullopt;
    items.push_back(std::move(*item));
  }
  return items;
}

}  // namespace lumora
