// What a host calls on the facade: initialisation, tracking, secure mode, state.
#include "lumora/C/Arguments.h"
#include "lumora/C/Collections.h"
#include "lumora/C/Drafts.h"

using namespace lumora::c;
using lumora::LMRSecuritySignature;
using lumora::LumoraActionMetaData;
using lumora::LumoraLead;

lumora_result lumora_initialize(lumora_text account, lumora_text secret, lumora_map launch_options) {
  return guarded([&] {
    auto options = optionalMap(launch_options);
    facade().initializeWithTarrowID(optionalText(account), optionalText(secret), std::move(options));
  });
}

lumora_result lumora_set_timeout_interval(int64_t seconds) {
  return guarded([&] { facade().setTimeoutInterval(seconds); });
}

lumora_result lumora_report_all(void) {
  return guarded([] { facade().reportAll(); });
}

lumora_result lumora_start_session(lumora_text name) {
  return guarded([&] { facade().startSession(optionalText(name)); });
}

lumora_result lumora_end_session(lumora_text name) {
  return guarded([&] { facade().endSession(optionalText(name)); });
}

lumora_result lumora_end_all_sessions(lumora_text type) {
  return guarded([&] { facade().endAllSessionsWithType(optionalText(type)); });
}

lumora_result lumora_discard_all_sessions(void) {
  return guarded([] { facade().discardAllSessions(); });
}

lumora_result lumora_report_action(lumora_text name, lumora_action details) {
  return guarded(
      [&] { facade().reportAction(optionalText(name), optionalObject<LumoraActionMetaData>(details)); });
}

lumora_result lumora_report_action_json(lumora_text name, lumora_text details) {
  return guarded([&] {
    std::shared_ptr<LumoraActionMetaData> metaData;
    if (const auto json = optionalText(details)) {
      auto members = mapFromJSON(*json);
      requireDepth(members, kDeepestDetails);
      metaData = std::make_shared<LumoraActionMetaData>();
      metaData->setActionMetadata(std::move(members));
    }
    facade().reportAction(optionalText(name), std::move(metaData));
  });
}

lumora_result lumora_associate_lead(lumora_lead lead) {
  return guarded([&] { facade().associateLead(object<LumoraLead>(lead)); });
}

lumora_result lumora_set_signature(lumora_signature signature) {
  return guarded([&] { facade().setSecureSignature(optionalObject<LMRSecuritySignature>(signature)); });
}

bool lumora_is_secure_mode_enabled(void) {
  return guardedValue(false, [] { return facade().isSecureModeEnabled(); });
}

lumora_result lumora_get_device_id(char* buffer, size_t capacity, size_t* length) {
  return guarded([&] { give(facade().getDeviceId(), buffer, capacity, length); });
}

bool lumora_is_initialized(void) {
  return guardedValue(false, [] { return facade().sdkInitialized(); });
}

bool lumora_is_account_blocked(void) {
  return guardedValue(false, [] { return facade().accountBlocked(); });
}

bool lumora_can_update(void) {
  return guardedValue(false, [] { return facade().canUpdate(); });
}

bool lumora_can_report(void) {
  return guardedValue(false, [] { return facade().canReport(); });
}
