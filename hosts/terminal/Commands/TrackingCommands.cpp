// Sessions, actions and the person's profile (LumoraTracking.cpp).
#include <map>
#include <memory>
#include <string>
#include <string_view>

#include "hosts/terminal/Commands/Command.h"
#include "lumora/Facade/Lumora.h"
#include "lumora/Facade/LumoraActionMetaData.h"
#include "lumora/Facade/LumoraLead.h"

namespace lumora_host {
namespace {

using lumora::Lumora;
using lumora::LumoraActionMetaData;
using lumora::LumoraLead;
using lumora::Value;
using OptionalText = std::optional<std::string>;

CommandResult startSession(Host&, const Arguments& arguments) {
  Lumora::sharedInstance().startSession(arguments.optionalText(0));
  return std::nullopt;
}

CommandResult endSession(Host&, const Arguments& arguments) {
  Lumora::sharedInstance().endSession(arguments.optionalText(0));
  return std::nullopt;
}

CommandResult endAllSessions(Host&, const Arguments& arguments) {
  Lumora::sharedInstance().endAllSessionsWithType(arguments.optionalText(0));
  return std::nullopt;
}

CommandResult discardSessions(Host&, const Arguments&) {
  Lumora::sharedInstance().discardAllSessions();
  return std::nullopt;
}

OptionalText textMember(const std::string& key, const Value& value) {
  if (value.isNull()) return std::nullopt;
  if (value.asString() == nullptr) throw CommandError("not a text: " + key);
  return *value.asString();
}

const Value& numberMember(const std::string& key, const Value& value) {
  if (!value.isNull() && (!value.isNumber() || value.isBoolean())) throw CommandError("not a number: " + key);
  return value;
}

std::shared_ptr<LumoraActionMetaData> actionMetaData(const lumora::Dictionary& object) {
  auto metaData = std::make_shared<LumoraActionMetaData>();
  for (const auto& [key, value] : object) {
    if (key == "type") {
      metaData->setType(textMember(key, value));
    } else if (key == "details") {
      metaData->setDetails(textMember(key, value));
    } else if (key == "metric") {
      metaData->setMetric(numberMember(key, value));
    } else if (key == "length") {
      metaData->setLength(numberMember(key, value));
    } else {
      metaData->setKey(key, textMember(key, value));
    }
  }
  return metaData;
}

CommandResult reportAction(Host&, const Arguments& arguments) {
  const auto object = arguments.optionalObject(1);
  const auto metaData = object ? actionMetaData(*object) : nullptr;
  Lumora::sharedInstance().reportAction(arguments.optionalText(0), metaData);
  return std::nullopt;
}

using LeadSetter = void (LumoraLead::*)(const OptionalText&);

const std::map<std::string_view, LeadSetter>& leadSetters() {
  static const std::map<std::string_view, LeadSetter> setters{
      {"email", &LumoraLead::setEmail},
      {"gender", &LumoraLead::setGender},
      {"firstName", &LumoraLead::setFirstName},
      {"lastName", &LumoraLead::setLastName},
      {"address", &LumoraLead::setAddress},
      {"city", &LumoraLead::setCity},
      {"state", &LumoraLead::setState},
      {"country", &LumoraLead::setCountry},
      {"postalCode", &LumoraLead::setPostalCode},
      {"leadSource", &LumoraLead::setLeadSource},
      {"facebookId", &LumoraLead::setFacebookId},
      {"twitterId", &LumoraLead::setTwitterId},
      {"linkedInId", &LumoraLead::setLinkedInId},
      {"dateOfBirth", &LumoraLead::setBirthDay},
      {"facebookProfileURL", &LumoraLead::setFacebookProfileURL},
      {"facebookPhotoURL", &LumoraLead::setFacebookProfilePicURL},
  };
  return setters;
}

std::shared_ptr<LumoraLead> leadFrom(const lumora::Dictionary& object) {
  auto lead = std::make_shared<LumoraLead>();
  for (const auto& [key, value] : object) {
    const auto text = textMember(key, value);
    if (const auto setter = leadSetters().find(key); setter != leadSetters().end()) {
      ((*lead).*(setter->second))(text);
    } else {
      lead->setFieldName(key, text);
    }
  }
  return lead;
}

CommandResult associateLead(Host&, const Arguments& arguments) {
  const auto object = arguments.optionalObject(0);
  Lumora::sharedInstance().associateLead(object ? leadFrom(*object) : nullptr);
  return std::nullopt;
}

}  // namespace

CommandTable trackingCommands() {
  return {
      {"start-session", {1, 1, startSession}},
      {"end-session", {1, 1, endSession}},
      {"end-all-sessions", {0, 1, endAllSessions}},
      {"discard-sessions", {0, 0, discardSessions}},
      {"action", {1, 2, reportAction}},
      {"lead", {1, 1, associateLead}},
  };
}

}  // namespace lumora_host
