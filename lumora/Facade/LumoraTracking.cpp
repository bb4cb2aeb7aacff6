// What a host records: sessions, actions, the person's profile. Arguments are checked on the caller's thread;
// the records are made on the library's queue, by LMREventLogger.
#include <new>
#include <utility>

#include "lumora/Events/LMREventLogger.h"
#include "lumora/Facade/Lumora.h"
#include "lumora/Facade/LumoraActionMetaData.h"
#include "lumora/Facade/LumoraLead.h"
#include "lumora/Util/CallGate.h"
#include "lumora/Util/EventKeys.h"
#include "lumora/Util/LMRUtil.h"
#include "lumora/Util/Log.h"
#include "lumora/Util/LostCall.h"

namespace lumora {

void Lumora::startSession(const std::optional<std::string>& name) try {
  if (!CallGate::admits()) return;
  if (LMRUtil::isStringEmpty(name)) return;
  sdkInitilizationWarning();
  enqueueEvents([this, name = *name] {
    fetchPicturesBeforeSession(name);
    eventLogger_.startSession(name);
  });
} catch (const std::bad_alloc&) {
  tellLostCall("startSession");
}

void Lumora::endSession(const std::optional<std::string>& name) try {
  if (!CallGate::admits()) return;
  if (LMRUtil::isStringEmpty(name)) return;
  sdkInitilizationWarning();
  enqueueEvents([this, name = *name] {
    eventLogger_.endSession(name);
    eventLogger_.reportEvents(false);
  });
} catch (const std::bad_alloc&) {
  tellLostCall("endSession");
}

/// The type chooses nothing: sessions are not kept by type.
void Lumora::endAllSessionsWithType(const std::optional<std::string>&) try {
  if (!CallGate::admits()) return;
  sdkInitilizationWarning();
  enqueueEvents([this] {
    eventLogger_.endAllSessions();
    eventLogger_.reportEvents(false);
  });
} catch (const std::bad_alloc&) {
  tellLostCall("endAllSessionsWithType");
}

void Lumora::discardAllSessions() try {
  const CallGate::Pass pass;
  if (!pass) return;
  sdkInitilizationWarning();
  // At once, ahead of what is queued: a session whose start still waits there begins all the same.
  eventLogger_.discardAllSessions();
} catch (const std::bad_alloc&) {
  tellLostCall("discardAllSessions");
}

void Lumora::reportAction(const std::optional<std::string>& name,
                          std::shared_ptr<LumoraActionMetaData> metaData) try {
  if (!CallGate::admits()) return;
  if (LMRUtil::isStringEmpty(name)) {
    logLine("LumoraSDK-Actin name should be a valid string. Failed to report action {}.", textOrNull(name));
    return;
  }
  sdkInitilizationWarning();
  enqueueEvents([this, name = *name, metaData = std::move(metaData)] {
    // Read now, not at the call: what the host changed in between belongs to the action.
    eventLogger_.reportCheckpoint(name, KEY_TYPE_CUSTOM,
                                  metaData ? std::optional(metaData->actionMetadata()) : std::nullopt);
    eventLogger_.reportEvents(false);
  });
} catch (const std::bad_alloc&) {
  tellLostCall("reportAction");
}

void Lumora::associateLead(std::shared_ptr<LumoraLead> lead) try {
  if (!CallGate::admits()) return;
  if (!lead) {
    logLine("LumoraSDK-Please set valid user attributes");
    return;
  }
  sdkInitilizationWarning();
  enqueueEvents([this, lead = std::move(lead)] {
    // The only record here that is sent at once, whatever the pause between uploads.
    eventLogger_.reportUserAttributes(lead->userData());
    eventLogger_.reportEvents(true);
  });
} catch (const std::bad_alloc&) {
  tellLostCall("associateLead");
}

}  // namespace lumora
