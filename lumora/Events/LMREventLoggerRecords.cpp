// The records of each kind of event, and what comes before one is stored: the observer, then the client
// information. Rows and the limit of their number are LMRDataManager's; what a host may call is in Lumora's
// sources.
#include "lumora/Events/CurrentSecond.h"
#include "lumora/Events/LMREventLogger.h"
#include "lumora/Storage/LMRDataManager.h"
#include "lumora/Util/CallGate.h"
#include "lumora/Util/EventKeys.h"
#include "lumora/Util/LMRSettingsKeys.h"
#include "lumora/Util/LMRUtil.h"
#include "lumora/Util/LogRefusal.h"
#include "lumora/Util/LumoraConstants.h"

namespace lumora {

Dictionary LMREventLogger::getEventSkeleton(std::string_view eventType) {
  Lock lock(mutex_);
  return {{std::string(KEY_TIMESTAMP), currentSecond()}, {std::string(KEY_EVENT_TYPE), eventType}};
}

void LMREventLogger::saveEvent(const Dictionary& event) {
  if (!CallGate::isWorking()) return;
  // Ahead of the lock: a wait for another process comes after it, when nobody waits for this thread.
  const LMRDataManager::WaitLater later;
  Lock lock(mutex_);
  // Whether or not the event can be stored, it shows its campaign.
  if (EventObserver* const observer = observer_) observer->currentEvent(event);
  reportClientInfoIfDue();
  LMRDataManager::sharedInstance().saveEventInDB(event);
  if (UploadObserver* const observer = uploadObserver_) observer->eventWaits();
}

void LMREventLogger::reportClientInfoIfDue() {
  SettingsStore& settings = platform().settings;
  if (isClientInfoMarkLost_ || settings.object(kLmroInit).boolValue()) return;
  reportClientInfo();
  LMRDataManager::sharedInstance().storeWaiting();  // The mark says that the row is there.
  LMRUtil::setBool(true, kLmroInit);
  // Where the settings keep nothing, every later event of this run would make the information due again.
  isClientInfoMarkLost_ = !settings.object(kLmroInit).boolValue();
}

void LMREventLogger::reportCheckpoint(const std::string& name, std::string_view type,
                                      const std::optional<Dictionary>& meta) {
  if (!CallGate::isWorking()) return;
  const LMRDataManager::WaitLater later;
  Lock lock(mutex_);
  Dictionary event = getEventSkeleton(KEY_CHECKPOINT);
  event.emplace(KEY_NAME, name);
  // An empty map is recorded too; only its absence is not.
  if (meta) event.emplace(KEY_META, *meta);
  event.emplace(KEY_TYPE, type);
  saveEvent(event);
}

void LMREventLogger::reportAppOpen() {
  if (!CallGate::isWorking()) return;
  reportCheckpoint(std::string(kLmroAppOpen), KEY_TYPE_INTERNAL, std::nullopt);
  // Not flushed: losing the latest count at a sudden end is acceptable.
  logRefusalOf([] {
    SettingsStore& settings = platform().settings;
    settings.setObject(kLmroAppOpen,
                       Value(static_cast<long long>(settings.object(kLmroAppOpen).integerValue() + 1)));
  });
}

void LMREventLogger::reportClientInfo() {
  Dictionary event = getEventSkeleton(KEY_EVENT_INIT);
  event.emplace(KEY_DEVICE_STATE, LMRUtil::deviceState());
  // Straight to the store: it is due because an event is being saved, and must not make itself due again.
  LMRDataManager::sharedInstance().saveEventInDB(event);
}

void LMREventLogger::reportUserAttributes(const Dictionary& attributes) {
  Dictionary event = getEventSkeleton(KEY_EVENT_USER);
  event.emplace(KEY_EVENT_USER, attributes);
  saveEvent(event);
}

void LMREventLogger::reportPushToken(const std::string& token) {
  Dictionary event = getEventSkeleton(KEY_EVENT_PUSH);
  event.emplace(KEY_EVENT_PUSH, Dictionary{{std::string(KEY_PUSH_SUBTYPE), KEY_PUSH_INIT},
                                           {std::string(KEY_PUSH_TOKEN), token}});
  saveEvent(event);
  // A test device was registered with the token that it had then.
  reportTestPushToken(token);
}

void LMREventLogger::clearPushToken() {
  Dictionary event = getEventSkeleton(KEY_EVENT_PUSH);
  event.emplace(KEY_EVENT_PUSH, Dictionary{{std::string(KEY_PUSH_SUBTYPE), KEY_EVENT_PUSH_UNREGISTER},
                                           {std::string(KEY_TYPE), KEY_TYPE_INTERNAL}});
  saveEvent(event);
}

Dictionary LMREventLogger::getPushSubEvent(std::string_view subtype, const Value& campaignId) const {
  return {{std::string(KEY_PUSH_SUBTYPE), subtype}, {std::string(KEY_PUSH_CAMPIGN_ID), campaignId}};
}

void LMREventLogger::reportPushOpened(const Value& campaignId) {
  Dictionary event = getEventSkeleton(KEY_EVENT_PUSH);
  event.emplace(KEY_EVENT_PUSH, getPushSubEvent(KEY_PUSH_OPENED, campaignId));
  saveEvent(event);
}

void LMREventLogger::reportPushDelivered(const Value& campaignId) {
  Dictionary event = getEventSkeleton(KEY_EVENT_PUSH);
  event.emplace(KEY_EVENT_PUSH, getPushSubEvent(KEY_PUSH_DELIVERED, campaignId));
  saveEvent(event);
}

void LMREventLogger::reportPushOpen(const std::optional<Dictionary>& launchOptions) {
  if (!launchOptions || !findValue(*launchOptions, "UIApplicationLaunchOptionsRemoteNotificationKey")) return;
  // Looked for beside the notification, not in it.
  if (const Value* campaignId = findValue(*launchOptions, "c")) reportPushOpened(*campaignId);
}

void LMREventLogger::reportInappWithSubType(const std::optional<std::string>& subtype,
                                            const std::optional<std::string>& campaignId) {
  if (!CallGate::isWorking()) return;
  const LMRDataManager::WaitLater later;
  Lock lock(mutex_);
  Dictionary event = getEventSkeleton(KEY_INAPP);
  if (subtype && campaignId) {
    event.emplace(KEY_INAPP, Dictionary{{std::string(KEY_PUSH_SUBTYPE), *subtype},
                                        {std::string(KEY_INAPP_CAMPAING_ID), *campaignId}});
  }
  saveEvent(event);
}

void LMREventLogger::reportTestPushToken(const std::string& token) {
  if (!LMRUtil::getBoolForKey(kLmroTestDevice)) return;
  Dictionary event = getEventSkeleton(KEY_UPDATE_TEST_DEVICE);
  event.emplace(KEY_PUSH_TOKEN, token);
  saveEvent(event);
  logLine("LumoraSDK-Updating test device push token");
}

}  // namespace lumora
