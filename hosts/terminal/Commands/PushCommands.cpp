// The push token, notifications as the system hands them over, and a tap on the last one that was shown
// (LumoraPush.cpp).
#include "hosts/terminal/Commands/Command.h"
#include "lumora/Facade/Lumora.h"
#include "lumora/Platform/ASCII.h"

namespace lumora_host {
namespace {

using lumora::Lumora;
using lumora::Value;

lumora::Data bytesFromHex(const std::string& text) {
  lumora::Data bytes;
  if (text.size() % 2 != 0) throw CommandError("not two hexadecimal digits a byte: " + text);
  for (std::size_t i = 0; i < text.size(); i += 2) {
    const int high = lumora::hexDigitValue(text[i]);
    const int low = lumora::hexDigitValue(text[i + 1]);
    if (high < 0 || low < 0) throw CommandError("not hexadecimal: " + text);
    bytes.push_back(static_cast<std::uint8_t>(high * 16 + low));
  }
  return bytes;
}

CommandResult registerPush(Host&, const Arguments& arguments) {
  const auto text = arguments.optionalText(0);
  Lumora::sharedInstance().registerPushDeviceToken(text ? std::optional(bytesFromHex(*text)) : std::nullopt);
  return std::nullopt;
}

CommandResult unregisterPush(Host&, const Arguments&) {
  Lumora::sharedInstance().unregisterPushDeviceToken();
  return std::nullopt;
}

CommandResult pushToken(Host&, const Arguments&) {
  return Lumora::sharedInstance().getPushDeviceToken();
}

CommandResult isPushRegistered(Host&, const Arguments&) {
  return Lumora::sharedInstance().isPushRegistered();
}

CommandResult handlePush(Host&, const Arguments& arguments) {
  Lumora::sharedInstance().handlePushNotification(arguments.optionalObject(0));
  return std::nullopt;
}

CommandResult trackPush(Host&, const Arguments& arguments) {
  Lumora::sharedInstance().trackPushNotification(arguments.optionalObject(0));
  return std::nullopt;
}

/// Fields that are left out, or null, are missing in the notification.
lumora::LocalNotification localNotificationFrom(const lumora::Dictionary& object, lumora::Date now) {
  lumora::LocalNotification notification;
  const Value* age = lumora::findValue(object, "fire_date");
  if (age && !age->isNumber()) throw CommandError("fire_date is no number of seconds");
  notification.fireDate =
      lumora::dateFromSeconds(lumora::secondsSince1970(now) - (age ? age->doubleValue() : 0));
  if (const Value* body = lumora::findValue(object, "alert_body")) {
    if (!body->asString()) throw CommandError("alert_body is no text");
    notification.alertBody = *body->asString();
  }
  if (const Value* userInfo = lumora::findValue(object, "user_info")) {
    if (!userInfo->asDictionary()) throw CommandError("user_info is no object");
    notification.userInfo = *userInfo->asDictionary();
  }
  return notification;
}

CommandResult deliverLocalNotification(Host& host, const Arguments& arguments) {
  const auto object = arguments.optionalObject(0);
  if (!object) throw CommandError("an object is needed here, not nil");
  Lumora::sharedInstance().applicationDidReceiveLocalNotification(
      localNotificationFrom(*object, host.platform.clock().now()));
  return std::nullopt;
}

/// True once the library has called back.
bool respond(const lumora::NotificationRequest& request) {
  bool isCompleted = false;
  Lumora::sharedInstance().userNotificationCenterDidReceiveNotificationResponse({request},
                                                                                [&] { isCompleted = true; });
  return isCompleted;
}

CommandResult tapNotification(Host& host, const Arguments&) {
  const auto& scheduled = host.platform.display().lastScheduled();
  if (!scheduled) return false;
  if (const auto* request = std::get_if<lumora::NotificationRequest>(&*scheduled)) return respond(*request);
  Lumora::sharedInstance().applicationDidReceiveLocalNotification(
      std::get<lumora::LocalNotification>(*scheduled));
  return true;
}

}  // namespace

CommandTable pushCommands() {
  return {
      {"register-push", {1, 1, registerPush}},
      {"unregister-push", {0, 0, unregisterPush}},
      {"push-token", {0, 0, pushToken}},
      {"is-push-registered", {0, 0, isPushRegistered}},
      {"push", {1, 1, handlePush}},
      {"track-push", {1, 1, trackPush}},
      {"local-notification", {1, 1, deliverLocalNotification}},
      {"tap-notification", {0, 0, tapNotification}},
  };
}

}  // namespace lumora_host
