// Push: the token, notifications that arrive or are tapped, and what is recorded of them. The platform's
// Notifications shows the copies that are made here, LMRUtil opens the links, LMREventLogger makes the
// records.
#include <new>
#include <utility>

#include "lumora/Events/LMREventLogger.h"
#include "lumora/Facade/Lumora.h"
#include "lumora/Platform/Texts.h"
#include "lumora/Util/CallGate.h"
#include "lumora/Util/CompareVersions.h"
#include "lumora/Util/LMRSettingsKeys.h"
#include "lumora/Util/LMRUtil.h"
#include "lumora/Util/Log.h"
#include "lumora/Util/LogRefusal.h"
#include "lumora/Util/LostCall.h"

namespace lumora {
namespace {

/// Category and request identifier of the local copy of a notification that arrives in the foreground.
constexpr const char* KEY_LOCAL_NOTIFICATION = "com.lumora.localnotification";
constexpr const char* olderCategory = "INVITE_CATEGORY";
/// Marks a payload that the person has answered, which is not shown as a copy again.
constexpr const char* checkedKey = "checked";
constexpr double secondsBeforeForegroundCopy = 1.0;

bool hasNotificationCenter() {
  return compareVersions(platform().device.systemVersion(), "10") >= 0;
}

/// The tap action of a payload; null when it has none.
const std::string* tapAction(const Dictionary& payload) {
  const Dictionary* tracking = findMap(payload, "vs");
  return tracking ? findText(*tracking, "a") : nullptr;
}

void openAction(const std::string& action) {
  const LMRUtil& util = LMRUtil::sharedInstance();
  util.openUrl(util.getFormatedUrl(action));
}

void openTapAction(const Dictionary& payload) {
  if (const std::string* action = tapAction(payload)) openAction(*action);
}

/// Its row is stored. Not flushed: that the next run reports the token once more does no harm.
void forgetUnreported(const std::string& token) {
  SettingsStore& settings = platform().settings;
  if (settings.object(kLumoraUnreportedToken) == Value(token)) settings.removeObject(kLumoraUnreportedToken);
}

Value alertOf(const Dictionary& payload) {
  const Dictionary* aps = findMap(payload, "aps");
  const Value* alert = aps ? findValue(*aps, "alert") : nullptr;
  return alert ? *alert : Value();
}

void logSchedulingResult(const std::optional<std::string>& error) {
  const std::string outcome = error ? fmt::format("could not schedule a local notification: {}", *error)
                                    : "scheduling a local notification!";
  logLine("LumoraSDK-{}", "Received notification while app is in foreground, " + outcome);
}

void requestForegroundCopy(const Dictionary& payload) {
  const Value alert = alertOf(payload);
  NotificationRequest request;
  request.identifier = KEY_LOCAL_NOTIFICATION;
  request.categoryIdentifier = KEY_LOCAL_NOTIFICATION;
  request.body = alert.asString() ? Value(platform().bundle.localizedString(*alert.asString())) : alert;
  request.userInfo = payload;
  // The badge counts this one too; nothing here ever takes it back.
  request.badge = platform().application.iconBadgeNumber() + 1;
  request.delay = secondsBeforeForegroundCopy;
  platform().notifications.addNotificationRequest(request, logSchedulingResult);
}

void scheduleOlderForegroundCopy(const Dictionary& payload) {
  const Value alert = alertOf(payload);
  LocalNotification copy;
  copy.fireDate = platform().clock.now();
  if (alert.asString()) copy.alertBody = *alert.asString();
  copy.userInfo = payload;
  copy.category = olderCategory;
  copy.timeZone = platform().device.timeZoneName();
  copy.defaultSound = true;
  platform().notifications.scheduleLocalNotification(copy);
}

/// Shows a notification that arrived in the foreground as a local one. Main queue.
void presentForegroundCopy(const Dictionary& payload) {
  if (!CallGate::isOpen()) return;
  if (hasNotificationCenter()) {
    requestForegroundCopy(payload);
  } else {
    scheduleOlderForegroundCopy(payload);
  }
}

}  // namespace

void Lumora::registerPushDeviceToken(const std::optional<Data>& deviceToken) try {
  const CallGate::Pass pass;
  if (!pass) return;
  logLine("LumoraSDK-registering push token");
  if (!deviceToken || deviceToken->empty()) return;
  const std::string text = hexadecimalText(*deviceToken);
  sdkInitilizationWarning();
  if (platform().settings.object(kLmroToken) == Value(text)) {
    logLine("LumoraSDK-Push token already registered");
    return;
  }
  // Stored before it is reported: the same token, given again meanwhile, is registered already. The mark goes
  // to the disk with it: a run that ends in between leaves the report to the next one.
  logRefusalOf([&] { platform().settings.setObject(kLumoraUnreportedToken, text); });
  LMRUtil::setObject(text, kLmroToken);
  enqueue([this, text] {
    eventLogger_.reportPushToken(text);
    forgetUnreported(text);
    eventLogger_.reportEvents(true);
    logLine("LumoraSDK-registered push_token successfully");
  });
} catch (const std::bad_alloc&) {
  tellLostCall("registerPushDeviceToken");
}

/// The token that an earlier run stored, but ended too soon to report.
void Lumora::reportTokenOfEarlierRun() {
  const std::string token = std::exchange(unreportedToken_, "");
  if (token.empty() || token != LMRUtil::getStringForKey(kLmroToken)) return;
  eventLogger_.reportPushToken(token);
  forgetUnreported(token);
}

void Lumora::unregisterPushDeviceToken() try {
  const CallGate::Pass pass;
  if (!pass) return;
  LMREventLogger& logger = LMREventLogger::sharedInstance();
  logger.clearPushToken();
  logger.reportEvents(true);
  // Whatever the upload came to: the event is stored, and goes out with a later one.
  SettingsStore& settings = platform().settings;
  settings.removeObject(kLmroToken);
  settings.synchronize();
} catch (const std::bad_alloc&) {
  tellLostCall("unregisterPushDeviceToken");
}

std::string Lumora::getPushDeviceToken() const try {
  if (!CallGate::admits()) return "";
  return LMRUtil::getStringForKey(kLmroToken);
} catch (const std::bad_alloc&) {
  tellLostCall("getPushDeviceToken");
  return "";
}

bool Lumora::isPushRegistered() const try {
  if (!CallGate::admits()) return false;
  return !platform().settings.object(kLmroToken).isNull();
} catch (const std::bad_alloc&) {
  tellLostCall("isPushRegistered");
  return false;
}

void Lumora::trackPushNotification(const std::optional<Dictionary>& notification) try {
  const CallGate::Pass pass;
  if (pass) trackNotification(notification);
} catch (const std::bad_alloc&) {
  tellLostCall("trackPushNotification");
}

void Lumora::trackNotification(const std::optional<Dictionary>& notification) {
  if (!notification) return;
  const Dictionary* payload = &*notification;
  // One that the library made has the payload that it was made from as its user info.
  if (findValue(*payload, kLaunchOptionsLocalNotificationKey)) {
    const Dictionary* local = findMap(*payload, kLaunchOptionsLocalNotificationKey);
    payload = local ? findMap(*local, kLocalNotificationUserInfoKey) : nullptr;
    if (!payload) return;
    openTapAction(*payload);
  }
  if (findValue(*payload, kLaunchOptionsRemoteNotificationKey)) {
    payload = findMap(*payload, kLaunchOptionsRemoteNotificationKey);
    // Newer systems deliver the tap itself as a notification response.
    if (hasNotificationCenter() || !payload) return;
    openTapAction(*payload);
  }
  if (const Value* tracking = findValue(*payload, "vs")) trackTracking(*tracking);
}

void Lumora::trackTracking(const Value& tracking) {
  const Value* campaignId = tracking.asDictionary() ? findValue(*tracking.asDictionary(), "cid") : nullptr;
  if (!campaignId) {
    logLine("LumoraSDK-Received invalid push notification from Lumora- {}", tracking.description());
    return;
  }
  if (!platform().queues.isMainThread()) {
    eventLogger_.reportPushOpened(*campaignId);  // The library's own callers upload right after.
    return;
  }
  enqueue([this, campaignId = *campaignId] {
    eventLogger_.reportPushOpened(campaignId);
    logLine("LumoraSDK-Push notification opened, tracking user tap.");
    eventLogger_.reportEvents(true);
  });
}

void Lumora::handlePushNotification(const std::optional<Dictionary>& payload) try {
  if (!CallGate::admits()) return;
  sdkInitilizationWarning();
  // The state at the call: by the time the task runs a tap may have brought the host to the front.
  const ApplicationState state = platform().application.state();
  enqueue([this, payload, state] {
    if (payload) handlePayload(*payload, state);
  });
} catch (const std::bad_alloc&) {
  tellLostCall("handlePushNotification");
}

void Lumora::handlePayload(const Dictionary& payload, ApplicationState state) {
  if (!LMRUtil::hasValue("vs", payload)) return;
  logLine("LumoraSDK-Received a push notification from Lumora");
  if (!findMap(payload, "vs")) {
    logLine("LumoraSDK-Invalid notification payload");
    return;
  }
  if (state == ApplicationState::active && !LMRUtil::hasValue(checkedKey, payload)) {
    platform().queues.mainQueue().async([payload] { presentForegroundCopy(payload); });
    return;
  }
  trackNotification(payload);
  eventLogger_.reportEvents(true);
  const std::string* action = tapAction(payload);
  if (action && !action->empty()) {
    logLine("LumoraSDK-Tap action found, launching it");
    openAction(*action);
  } else {
    logLine("LumoraSDK-Launching application no tap action specified");
  }
}

void Lumora::applicationDidReceiveLocalNotification(const LocalNotification& notification) try {
  if (isLumoraNotification(notification)) handlePushNotification(notification.userInfo);
} catch (const std::bad_alloc&) {
  tellLostCall("applicationDidReceiveLocalNotification");
}

void Lumora::userNotificationCenterDidReceiveNotificationResponse(
    const NotificationResponse& response, const std::function<void()>& completionHandler) try {
  Dictionary payload = response.request.userInfo;
  payload[checkedKey] = checkedKey;
  handlePushNotification(payload);
  // Without waiting for the queue: the system is told that the answer was taken, not what came of it.
  if (completionHandler) completionHandler();
} catch (const std::bad_alloc&) {
  tellLostCall("userNotificationCenterDidReceiveNotificationResponse");
}

bool Lumora::isLumoraNotification(const LocalNotification& notification) const try {
  const double elapsed = secondsSince1970(platform().clock.now()) - secondsSince1970(notification.fireDate);
  // A younger one is being delivered to an application in the foreground; nobody has tapped it yet.
  if (elapsed < 1.0) return false;
  if (LMRUtil::isStringEmpty(notification.alertBody)) return false;
  return notification.userInfo && findMap(*notification.userInfo, "vs");
} catch (const std::bad_alloc&) {
  tellLostCall("isLumoraNotification");
  return false;
}

}  // namespace lumora
