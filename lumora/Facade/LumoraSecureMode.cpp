// The signature of an account in secure mode: checked by LMRSecuritySignature, kept in the settings store,
// sent by LMREventLoggerUpload.cpp. Whether the mode is on is the service's to say (LumoraSync.cpp).
#include <new>

#include "lumora/Events/LMREventLogger.h"
#include "lumora/Facade/Lumora.h"
#include "lumora/Util/CallGate.h"
#include "lumora/Util/LMRSecuritySignature.h"
#include "lumora/Util/LMRSettingsKeys.h"
#include "lumora/Util/LMRUtil.h"
#include "lumora/Util/Log.h"
#include "lumora/Util/LostCall.h"

namespace lumora {

void Lumora::setSecureSignature(const std::shared_ptr<LMRSecuritySignature>& signature) try {
  const CallGate::Pass pass;
  if (!pass) return;
  // First, so that a store that refuses the new one is not left with the old one.
  removeSecureSignature();
  if (!signature) return;
  LMRUtil::setDataObject(signature.get(), kLmroSecureToken);
  logLine("LumoraSDK-setting secured signature.");
  // What was held back for want of a signature goes out at once.
  LMREventLogger::sharedInstance().reportEvents(true);
} catch (const std::bad_alloc&) {
  tellLostCall("setSecureSignature");
}

void Lumora::removeSecureSignature() try {
  const CallGate::Pass pass;
  if (!pass) return;
  // Not flushed: the next flush, or the store by itself, writes it.
  platform().settings.removeObject(kLmroSecureToken);
  logLine("LumoraSDK-Removed secured signature.");
} catch (const std::bad_alloc&) {
  tellLostCall("removeSecureSignature");
}

bool Lumora::isSecureModeEnabled() const try {
  if (!CallGate::admits()) return false;
  return LMRUtil::getBoolForKey(kLmroSecureMode);
} catch (const std::bad_alloc&) {
  tellLostCall("isSecureModeEnabled");
  return false;
}

}  // namespace lumora
