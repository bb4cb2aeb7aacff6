// An output line's object. Its members are written as they come, since a map would sort them.
#include "hosts/terminal/JSONObject.h"

#include "hosts/terminal/SettingJSON.h"
#include "lumora/Platform/JSON.h"

namespace lumora_host {
namespace {

std::string encode(const lumora::Value& value) {
  return lumora::writeJSON(settingToJSON(value)).value_or("null");
}

}  // namespace

JSONObject& JSONObject::add(std::string_view key, const lumora::Value& value) {
  addMember(key, encode(value));
  return *this;
}

JSONObject& JSONObject::add(std::string_view key, const JSONObject& nested) {
  addMember(key, nested.text());
  return *this;
}

void JSONObject::addMember(std::string_view key, std::string_view json) {
  if (!members_.empty()) members_ += ',';
  members_.append(encode(key)).append(":").append(json);
}

}  // namespace lumora_host
