// What the person decides: consent to tracking, and the erasure of everything. Both work by closing CallGate;
// what a closed gate means is decided there and asked wherever something is recorded, sent or shown.
#include <atomic>
#include <memory>
#include <new>
#include <utility>

#include "lumora/Events/LMREventLogger.h"
#include "lumora/Facade/Lumora.h"
#include "lumora/Facade/Reports.h"
#include "lumora/InApp/LMRInAppHandler.h"
#include "lumora/Storage/LMRDataManager.h"
#include "lumora/Storage/LMRIOManager.h"
#include "lumora/Util/CallGate.h"
#include "lumora/Util/FlagMark.h"
#include "lumora/Util/LMRSettingsKeys.h"
#include "lumora/Util/LMRUtil.h"
#include "lumora/Util/Log.h"
#include "lumora/Util/LogRefusal.h"
#include "lumora/Util/LostCall.h"
#include "lumora/Util/LumoraConstants.h"
#include "lumora/Util/UICKeyChainStore.h"

namespace lumora {
namespace {

constexpr const char* granted = "granted";
constexpr const char* denied = "denied";

Consent storedConsent() {
  const std::string stored = LMRUtil::getStringForKey(kLumoraConsent);
  if (stored == denied) return Consent::denied;
  return stored == granted ? Consent::granted : Consent::unknown;
}

void storeConsent(Consent consent) {
  if (consent != Consent::unknown)
    return LMRUtil::setObject(consent == Consent::denied ? denied : granted, kLumoraConsent);
  platform().settings.removeObject(kLumoraConsent);
  platform().settings.synchronize();
}

/// Counts the denials that erase the waiting events: the end of one is not to pass for that of a later one.
std::atomic<unsigned> eventErasures = 0;

/// Flushed together with the consent.
void markEventErasure() {
  ++eventErasures;
  logRefusalOf([] { platform().settings.setObject(kLumoraEventErasure, true); });
}

void endEventErasure(unsigned erasure) {
  if (eventErasures != erasure) return;
  platform().settings.removeObject(kLumoraEventErasure);
  platform().settings.synchronize();
}

/// True when the store has written it.
bool eraseSettings() {
  SettingsStore& settings = platform().settings;
  for (const std::string_view key : erasedSettingsKeys) settings.removeObject(key);
  const auto bundleIdentifier = platform().bundle.infoValue(kBundleIdentifierKey);
  settings.removeObject(std::string(kOstrelAppIDDefaultsKey) + bundleIdentifier.value_or(""));
  const bool isWritten = settings.synchronize();
  return settings.removeLeftovers() && isWritten;
}

/// Removes everything that the library keeps but the consent. The keychain comes last but one: it is where a
/// new device identifier would be taken from.
bool eraseStores() {
  bool isClean = LMRDataManager::sharedInstance().eraseFiles();
  LMRIOManager::sharedInstance().cleanUp();
  isClean = UICKeyChainStore::removeAllItemsForService(std::nullopt) && isClean;
  return eraseSettings() && isClean;
}

void endErasure() {
  platform().settings.removeObject(kLumoraErasure);
  platform().settings.synchronize();
}

}  // namespace

/// What an earlier run has left for this one, ahead of every call.
void Lumora::resumeEarlierRun() {
  if (CallGate::isClosed(Closed::inForkedChild)) return;  // All of it is the parent's.
  if (LMRUtil::getBoolForKey(kLumoraErasure)) {
    const bool isClean = eraseStores();
    logLine("LumoraSDK-The erasure that an earlier run began is {}.", isClean ? "complete" : "not complete");
    endErasure();  // Not tried for ever: what this run records is to stay.
  }
  consent_ = storedConsent();
  if (consent_ == Consent::denied) CallGate::settle(Closed::withoutConsent);
  if (LMRUtil::getBoolForKey(kLumoraEventErasure)) {
    // Ahead of all that this run does with the database, which is not opened here.
    dataManager_.cleanUpAppEventsFirst([] { endEventErasure(0); });
    serialQueue_->async([this] {
      const CallGate::Work work;
      dataManager_.storeWaiting();
    });
  }
  unreportedToken_ = LMRUtil::getStringForKey(kLumoraUnreportedToken);
}

Consent Lumora::trackingConsent() const noexcept {
  return consent_;
}

void Lumora::setTrackingConsent(Consent consent, WaitingEvents waiting) try {
  if (!CallGate::admitsDespite({Closed::withoutConsent})) return;
  const bool isDenied = consent == Consent::denied;
  Lock lock(consentMutex_);  // Two calls at once take effect one after the other.
  // Before it is stored: from here on nothing leaves any more.
  if (isDenied) CallGate::close(Closed::withoutConsent);
  const bool wasDenied = consent_.exchange(consent) == Consent::denied;
  // Whatever ends this run, the next one knows what is to be done.
  if (isDenied && waiting == WaitingEvents::areErased) markEventErasure();
  storeConsent(consent);
  if (isDenied) return denyTracking(waiting);
  if (wasDenied) resumeTracking();
} catch (const std::bad_alloc&) {
  tellLostCall("setTrackingConsent");
}

void Lumora::denyTracking(WaitingEvents waiting) {
  platform().urlLoader.setAborting(true);
  // What was called before is stored first.
  serialQueue_->async([this, waiting, denial = ++denials_, erasure = eventErasures.load()] {
    const CallGate::Work work;
    dataManager_.storeWaiting();
    if (waiting == WaitingEvents::areErased)
      dataManager_.cleanUpAppEvents([erasure] { endEventErasure(erasure); });
    // No session is to tell of the time without consent.
    if (eventLogger_.isSessionOpen(kLmroSession)) isAppSessionSuspended_ = true;
    eventLogger_.discardAllSessions();
    Lock lock(consentMutex_);
    if (consent_ == Consent::denied && denials_ == denial) CallGate::settle(Closed::withoutConsent);
  });
}

void Lumora::resumeTracking() {
  platform().urlLoader.setAborting(false);
  CallGate::open(Closed::withoutConsent);
  enqueue([this, credentials = credentials_] {
    if (std::exchange(isAppSessionSuspended_, false)) {
      fetchPicturesBeforeSession(kLmroSession);
      // Not by startAppSession: this is not another opening of the application.
      eventLogger_.startSession(std::string(kLmroSession));
    }
    if (credentials) makeUpForInitialization(*credentials);
    reports_.trackingResumed();
  });
}

/// The initialisation that was ignored, or aborted: here and now, so that what is called after the consent
/// finds it made.
void Lumora::makeUpForInitialization(const Credentials& credentials) {
  if (!CallGate::isOpen() || appSecret() || makingInitCall_.exchange(true)) return;
  FlagMark making(makingInitCall_);
  beginInitialization();
  initialize(credentials.tarrowID, credentials.appSecret, std::nullopt, making);
}

/// For a host that initialises the library at launch and learns of the person's consent later.
void Lumora::rememberCredentials(const std::string& tarrowID, const std::string& appSecret) {
  Lock lock(consentMutex_);
  credentials_ = Credentials{tarrowID, appSecret};
}

void Lumora::eraseAllData() try {
  if (!CallGate::admitsDespite({Closed::withoutConsent})) return;
  // First, and on the disk: whatever ends this run, the next one knows what is to be done.
  LMRUtil::setBool(true, kLumoraErasure);
  CallGate::settle(Closed::afterErasure);
  platform().urlLoader.setAborting(true);
  // Behind whatever either queue is doing now; what waits there does nothing any more. Handed over to both at
  // once: a shutdown that comes next lets neither take anything further.
  const auto busyQueues = std::make_shared<std::atomic<int>>(2);
  const auto rest = [busyQueues] {
    if (--*busyQueues == 0) finishErasure();
  };
  serialInAppQueue_->async(rest);
  serialQueue_->async(rest);
} catch (const std::bad_alloc&) {
  tellLostCall("eraseAllData");
}

void Lumora::finishErasure() {
  const CallGate::Work work;
  const bool isAtRest = CallGate::waitForCalls();
  LMRInAppHandler::sharedInstance().setLmrInappEvents(std::make_shared<LMRInAppHandler::EventMap>());
  if (eraseStores() && isAtRest) return endErasure();
  logLine("LumoraSDK-Not everything could be erased, the next start tries once more.");
}

}  // namespace lumora
