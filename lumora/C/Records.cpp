// The objects that a host fills in and hands over: an action's details, a lead, a signature.
#include "lumora/C/Arguments.h"
#include "lumora/C/Collections.h"
#include "lumora/C/Drafts.h"

using namespace lumora::c;
using lumora::LMRSecuritySignature;

namespace {

template <typename Object, typename Change>
lumora_result change(lumora_handle handle, Change&& change) {
  return guarded([&] { object<Object>(handle)->change(change); });
}

}  // namespace

lumora_action lumora_action_new(void) {
  return guardedValue(LUMORA_NONE,
                      [] { return Handles::sharedInstance().add(std::make_shared<ActionDraft>()); });
}

lumora_result lumora_action_set_type(lumora_action action, lumora_text type) {
  return change<ActionDraft>(action, [&](auto& details) { details.setType(optionalText(type)); });
}

lumora_result lumora_action_set_details(lumora_action action, lumora_text text) {
  return change<ActionDraft>(action, [&](auto& details) { details.setDetails(optionalText(text)); });
}

lumora_result lumora_action_set_metric(lumora_action action, double metric) {
  return change<ActionDraft>(action, [&](auto& details) { details.setMetric(metric); });
}

lumora_result lumora_action_set_length(lumora_action action, double length) {
  return change<ActionDraft>(action, [&](auto& details) { details.setLength(length); });
}

lumora_result lumora_action_set_text(lumora_action action, lumora_text key, lumora_text value) {
  return change<ActionDraft>(action,
                             [&](auto& details) { details.setKey(optionalText(key), optionalText(value)); });
}

lumora_result lumora_action_set_map(lumora_action action, lumora_map map) {
  return change<ActionDraft>(action,
                             [&](auto& details) { details.setActionMetadata(object<Map>(map)->contents()); });
}

lumora_lead lumora_lead_new(void) {
  return guardedValue(LUMORA_NONE,
                      [] { return Handles::sharedInstance().add(std::make_shared<LeadDraft>()); });
}

lumora_result lumora_lead_set_email(lumora_lead lead, lumora_text email) {
  return change<LeadDraft>(lead, [&](auto& person) { person.setEmail(optionalText(email)); });
}

lumora_result lumora_lead_set_text(lumora_lead lead, lumora_text key, lumora_text value) {
  return change<LeadDraft>(lead,
                           [&](auto& person) { person.setKey(optionalText(key), optionalText(value)); });
}

lumora_signature lumora_signature_new(lumora_text access_key, lumora_text signature, lumora_text timestamp,
                                      lumora_text email) {
  return guardedValue(LUMORA_NONE, [&] {
    auto made = LMRSecuritySignature::initWithAccessKey(optionalText(access_key), optionalText(signature),
                                                        optionalText(timestamp), optionalText(email));
    return made ? Handles::sharedInstance().add(std::move(made)) : LUMORA_NONE;
  });
}
