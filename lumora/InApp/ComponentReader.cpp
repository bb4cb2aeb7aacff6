// Reads campaign objects by tables of keys, and writes the line that drops a campaign. Which keys a component
// has, and in what order, is in the component's own source.
#include "lumora/InApp/ComponentReader.h"

#include <algorithm>
#include <charconv>
#include <cmath>

#include "lumora/InApp/MessageObserver.h"
#include "lumora/Storage/LMRDataManager.h"
#include "lumora/Util/LMRUtil.h"
#include "lumora/Util/Log.h"

namespace lumora {

bool dropCampaign(const std::string& campaignId, std::string_view reason) {
  // The lines of the campaigns before it come first.
  LMRDataManager::sharedInstance().storeWaiting();
  if (MessageObserver* const observer = MessageObserver::current())
    observer->campaignDropped(campaignId, reason);
  return LMRUtil::hasValue(reason, Dictionary(), campaignId);
}

namespace {

/// JSON's true and false are numbers as well.
bool isPlainNumber(const Value& value) {
  return value.isNumber() && !value.isBoolean();
}

bool isNumericText(const Value& value) {
  const auto* text = value.asString();
  if (!text) return false;
  double number = 0;
  const char* const end = text->data() + text->size();
  const auto result = std::from_chars(text->data(), end, number);
  // The words for infinity and not-a-number would pass.
  return result.ec == std::errc() && result.ptr == end && std::isfinite(number);
}

/// Puts a value where its field wants it; false when it has the wrong type.
struct Store {
  const Value& value;

  bool operator()(std::optional<std::string>* text) const {
    if (!value.asString()) return false;
    *text = *value.asString();
    return true;
  }
  bool operator()(bool* flag) const {
    if (!value.isNumber()) return false;
    *flag = value.boolValue();
    return true;
  }
  bool operator()(ComponentReader::Number target) const {
    if (!isPlainNumber(value)) return false;
    target.number = value;
    return true;
  }
  bool operator()(ComponentReader::WholeNumber target) const {
    if (!isPlainNumber(value) && !isNumericText(value)) return false;
    target.number = Value(static_cast<long long>(Value(value.doubleValue()).integerValue()));
    return true;
  }
  bool operator()(ComponentReader::Code target) const {
    const auto* text = value.asString();
    const auto code = text ? codeForText(target.table, *text) : std::nullopt;
    if (!code) return false;
    target.code = *code;
    return true;
  }
};

}  // namespace

std::optional<std::int32_t> codeForText(std::span<const CodeName> table, std::string_view text) {
  const auto entry = std::ranges::find(table, text, &CodeName::text);
  if (entry == table.end()) return std::nullopt;
  return entry->code;
}

bool ComponentReader::read(std::initializer_list<Field> fields) const {
  return std::ranges::all_of(fields, [this](const Field& field) { return readField(field); });
}

bool ComponentReader::readField(const Field& field) const {
  const Value* value = findValue(data_, field.key);
  if (!value) return field.presence == Presence::optional || drop(field.key);
  return std::visit(Store{*value}, field.target) || drop(field.key);
}

bool ComponentReader::readAction(std::optional<std::string>& action) const {
  const Value* byPlatform = findValue(data_, "action");
  if (!byPlatform) return true;
  if (!byPlatform->asDictionary()) return drop("action");
  const ComponentReader reader(*byPlatform->asDictionary(), campaignId_);
  return reader.read({{"ios", Presence::optional, &action}});
}

bool ComponentReader::drop(std::string_view reason) const {
  // One wording for every dropped campaign: that of a missing key.
  return dropCampaign(campaignId_, reason);
}

}  // namespace lumora
