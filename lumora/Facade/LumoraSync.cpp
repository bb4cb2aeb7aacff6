// The configuration that the service gives: when it may be asked for, and what its answer changes: the block,
// the features, the campaigns. Requests are LMRNetworkManager's, campaigns from there on the in-app
// handler's.
#include <new>
#include <utility>

#include "lumora/Events/LMREventLogger.h"
#include "lumora/Facade/Lumora.h"
#include "lumora/Facade/Reports.h"
#include "lumora/InApp/LMRInAppHandler.h"
#include "lumora/InApp/LMRInAppMessage.h"
#include "lumora/Manager/LMRNetworkManager.h"
#include "lumora/Storage/LMRDataManager.h"
#include "lumora/Util/CallGate.h"
#include "lumora/Util/DecimalText.h"
#include "lumora/Util/FlagMark.h"
#include "lumora/Util/LMRSettingsKeys.h"
#include "lumora/Util/LMRUtil.h"
#include "lumora/Util/Log.h"
#include "lumora/Util/LostCall.h"
#include "lumora/Util/MinimumInterval.h"

namespace lumora {
namespace {

constexpr const char* kLmroInAppSync = "api/v1/sync";
constexpr double minimumSecondsBetweenSyncs = 10.0;

/// Numbers and texts can be read as numbers; what is neither counts as absent.
const Value* findNumberOrText(const Dictionary& map, std::string_view key) {
  const Value* value = findValue(map, key);
  return value && (value->isNumber() || value->asString()) ? value : nullptr;
}

/// The features that a configuration leaves out are off.
bool readFlag(const Dictionary& map, std::string_view key) {
  const Value* value = findValue(map, key);
  return value && value->boolValue();
}

/// Stores a feature's new state; true when that switched it on.
bool switchesOn(std::string_view key, bool enabled) {
  const bool wasEnabled = LMRUtil::getBoolForKey(key);
  LMRUtil::setBool(enabled, key);
  return enabled && !wasEnabled;
}

/// The campaigns of one sync answer, on the in-app queue.
void receiveCampaigns(const Value& campaigns) {
  const CallGate::Work work;
  if (!work) return;
  const List* list = campaigns.asList();
  if (!list) return;
  logTrace({"-[Lumora parseResponseForBlockedAndFeatures:]_block_invoke", 265},
           "Received {} InAppMessages in sync call.", list->size());
  if (list->empty()) return;
  LMRDataManager& store = LMRDataManager::sharedInstance();
  {
    const LMRDataManager::Burst together;
    for (const Value& campaign : *list) {
      if (!campaign.asDictionary()) continue;
      const auto message = LMRInAppMessage::initWithDictionary(*campaign.asDictionary());
      if (message && message->isValid()) store.saveCampaign(message->row());
    }
  }
  LMRInAppHandler::sharedInstance().fetchAndRefill();
}

}  // namespace

std::string Lumora::getSyncUrl(const std::string& appSecret) const {
  const Value last = platform().settings.object(kLmroLastInAppUpdate);
  return fmt::format("{}/{}?lst={}", kLmroInAppSync, appSecret, last.isNull() ? "0" : decimalText(last));
}

void Lumora::getLatestConfiguration(const std::string& appSecret, Attempt attempt, FlagMark& making) {
  LumoraError error;
  const auto response = networkManager_.getDataFromEndpoint(getSyncUrl(appSecret), &error);
  if (!response) return reports_.initializationFailed(error);
  if (!parseResponseForBlockedAndFeatures(response) || accountBlocked_) {
    // The host may try again while the rest of this task runs.
    making.end();
    reports_.initializationFailed({.reason = LumoraError::Reason::blocked});
    return;
  }
  completeInitialization(appSecret, attempt);
  // Only now: after an attempt that failed the next run must take the same path again.
  LMRUtil::setObject(platform().bundle.infoValue(kBundleShortVersionKey), kLmroAppVersion);
  LMRUtil::setObject(appSecret, kLmroAppSecret);
  LMRUtil::setObject(platform().clock.now(), kLmroLastUpdate);
}

/// Nothing when there is nothing to ask for. Where no initialisation has completed, the one that was given
/// serves if it is the stored one (an account that was blocked, a fetch that failed): any other may belong to
/// other credentials.
std::optional<std::string> Lumora::secretForSync() const {
  const std::string stored = LMRUtil::getStringForKey(kLmroAppSecret);
  if (auto secret = appSecret()) return secret;
  Lock lock(textMutex_);
  return givenSecret_ == stored ? givenSecret_ : std::nullopt;
}

void Lumora::resyncConfiguration() {
  // Before the lock, so that nobody waits for another's request.
  if (isSyncing_) return;
  Lock lock(mutex_);
  const FlagMark syncing(isSyncing_);
  const auto secret = secretForSync();
  if (secret && canUpdate()) {
    // The attempt counts, not its success.
    LMRUtil::setObject(platform().clock.now(), kLmroLastUpdate);
    logTrace({"-[Lumora resyncConfiguration]", 407}, "Making update call");
    LumoraError error;
    const auto response = networkManager_.getDataFromEndpoint(getSyncUrl(*secret), &error);
    if (!parseResponseForBlockedAndFeatures(response)) reports_.configurationFailed(error);
  }
}

bool Lumora::canUpdate() const try {
  if (!CallGate::admits()) return false;
  return hasMinimumPassed(kLmroLastUpdate, minimumSecondsBetweenSyncs, {"-[Lumora canUpdate]", 355},
                          "update call  ");
} catch (const std::bad_alloc&) {
  tellLostCall("canUpdate");
  return false;
}

bool Lumora::canReport() const try {
  if (!CallGate::admits()) return false;
  return hasMinimumPassed(kLmroLastReport, LMREventLogger::minimumSecondsBetweenUploads,
                          {"-[Lumora canReport]", 334}, "report call ");
} catch (const std::bad_alloc&) {
  tellLostCall("canReport");
  return false;
}

bool Lumora::parseResponseForBlockedAndFeatures(const std::optional<Dictionary>& response) {
  if (!response) return false;
  const Value* blocked = findValue(*response, "blocked");
  // An answer that does not say leaves this run as it is; the next one begins without a block.
  if (blocked) accountBlocked_ = blocked->boolValue();
  LMRUtil::setBool(blocked && blocked->boolValue(), kLmroAcountBlocked);
  if (const Value* last = findNumberOrText(*response, "lst")) {
    LMRUtil::setObject(last->doubleValue(), kLmroLastInAppUpdate);
  }
  const Value* campaigns = findValue(*response, "inapp");
  // On a queue of its own: pictures may take minutes, and no event must wait for them.
  serialInAppQueue_->async([campaigns = campaigns ? *campaigns : Value()] { receiveCampaigns(campaigns); });
  const Value* config = findValue(*response, "config");
  if (config && config->asDictionary()) applyConfiguration(*config->asDictionary());
  const List* list = campaigns ? campaigns->asList() : nullptr;
  reports_.configurationReceived(accountBlocked_, list ? list->size() : 0);
  return true;
}

void Lumora::applyConfiguration(const Dictionary& config) {
  if (const Value* timeout = findNumberOrText(config, "syncTimeOut")) {
    LMRUtil::setObject(*timeout, kLmroSyncTimepout);
  }
  if (switchesOn(kLmroSecureMode, readFlag(config, "secure_mode"))) {
    logLine("LumoraSDK-Enabling a secure communication mode on this device.");
  }
  if (switchesOn(kLmroTestDevice, readFlag(config, "test_device"))) {
    logLine("LumoraSDK-Enabling a test device functionality on this device");
    eventLogger_.reportTestPushToken(getPushDeviceToken());
  }
}

}  // namespace lumora
