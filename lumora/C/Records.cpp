// The objects that a host fills in and hands over: an action's details, a lead, a signature.
#include "lumora/C/Arguments.h"
#include "lumora/C/Collections.h"
#include "lumora/C/Drafts.h"

using namespace lumora::c;
using lumora::LMRSecuritySignature;
using lumora::LumoraActionMetaData;
using lumora::LumoraLead;

namespace {

template <typename Object, typename Change>
lumora_result changed(lumora_handle handle, Change&& change) {
  return guarded([&] { changeDraft<Object>(handle, change); });
}

}  // namespace

lumora_action lumora_action_new(void) {
  return guardedValue(LUMORA_NONE,
                      [] { return Handles::sharedInstance().add(std::make_shared<LumoraActionMetaData>()); });
}

lumora_result lumora_action_set_type(lumora_action action, lumora_text type) {
  return changed<LumoraActionMetaData>(action, [&](auto& details) { details.setType(optionalText(type)); });
}

lumora_result lumora_action_set_details(lumora_action action, lumora_text text) {
  return changed<LumoraActionMetaData>(action,
                                       [&](auto& details) { details.setDetails(optionalText(text)); });
}

lumora_result lumora_action_set_metric(lumora_action action, double metric) {
  return changed<LumoraActionMetaData>(action, [&](auto& details) { details.setMetric(metric); });
}

lumora_result lumora_action_set_length(lumora_action action, double length) {
  return changed<LumoraActionMetaData>(action, [&](auto& details) { details.setLength(length); });
}

lumora_result lumora_action_set_text(lumora_action action, lumora_text key, lumora_text value) {
  return changed<LumoraActionMetaData>(
      action, [&](auto& details) { details.setKey(borrowedText(key), optionalText(value)); });
}

lumora_result lumora_action_set_map(lumora_action action, lumora_map map) {
  return guarded([&] {
    auto contents = contentsOf<lumora::Dictionary>(map);
    requireDepth(contents, kDeepestDetails);
    changeDraft<LumoraActionMetaData>(action,
                                      [&](auto& details) { details.setActionMetadata(std::move(contents)); });
  });
}

lumora_lead lumora_lead_new(void) {
  return guardedValue(LUMORA_NONE,
                      [] { return Handles::sharedInstance().add(std::make_shared<LumoraLead>()); });
}

lumora_result lumora_lead_set_email(lumora_lead lead, lumora_text email) {
  return changed<LumoraLead>(lead, [&](auto& person) { person.setEmail(optionalText(email)); });
}

lumora_result lumora_lead_set_text(lumora_lead lead, lumora_text key, lumora_text value) {
  return changed<LumoraLead>(lead,
                             [&](auto& person) { person.setKey(borrowedText(key), optionalText(value)); });
}

lumora_signature lumora_signature_new(lumora_text access_key, lumora_text signature, lumora_text timestamp,
                                      lumora_text email) {
  return guardedValue(LUMORA_NONE, [&] {
    auto made = LMRSecuritySignature::initWithAccessKey(optionalText(access_key), optionalText(signature),
                                                        optionalText(timestamp), optionalText(email));
    return made ? Handles::sharedInstance().add(std::move(made)) : LUMORA_NONE;
  });
}
