// How a host hands over what its platform delivers: push tokens, payloads, notifications and URLs. Every
// function is called where the platform calls the host; docs/push-and-links.md says when.

#include <memory>
#include <string>

#include "lumora/Facade/LMRSecuritySignature.h"
#include "lumora/Facade/Lumora.h"
#include "lumora/Platform/JSON.h"

namespace {

using lumora::Lumora;

/// The platform has given the application a push token, or a new one.
void onPushToken(const lumora::Data& token) {
  Lumora::sharedInstance().registerPushDeviceToken(token);
}

/// The person has switched notifications off.
void onPushDisabled() {
  Lumora::sharedInstance().unregisterPushDeviceToken();
}

/// A push notification has arrived, whatever the application is doing; `json` is its payload.
void onPushPayload(const std::string& json) {
  const auto payload = lumora::parseJSON(json);
  if (payload && payload->asDictionary()) {
    Lumora::sharedInstance().handlePushNotification(*payload->asDictionary());
  }
}

/// The person has tapped a notification of the notification center (system version 10 and newer).
void onNotificationResponse(const lumora::NotificationResponse& response) {
  Lumora::sharedInstance().userNotificationCenterDidReceiveNotificationResponse(response, [] {
    // Tell the platform that the response is dealt with.
  });
}

/// An older system has delivered a local notification.
void onLocalNotification(const lumora::LocalNotification& notification) {
  Lumora& sdk = Lumora::sharedInstance();
  if (sdk.isLumoraNotification(notification)) {
    sdk.applicationDidReceiveLocalNotification(notification);
  } else {
    // One of the application's own.
  }
}

/// The system has opened a URL in the application. Gives false for one that is not for Lumora.
bool onURL(const std::string& text) {
  const auto url = lumora::URL::parse(text);
  return url && Lumora::sharedInstance().applicationOpenURL(*url);
}

/// The application's own server has signed for this person. The upload that this starts is waited for, so a
/// thread that may wait does it.
bool onSigned(const std::string& key, const std::string& signature, const std::string& stamp,
              const std::string& email) {
  const auto record = lumora::LMRSecuritySignature::initWithAccessKey(key, signature, stamp, email);
  if (record) Lumora::sharedInstance().setSecureSignature(record);
  return record != nullptr;
}

}  // namespace

int main() {
  onPushToken({0x0A, 0xFF});
  onPushPayload(R"({"aps":{"alert":"Hello"},"vs":{"cid":"c1","a":"example.com"}})");
  onNotificationResponse({});
  onLocalNotification({});
  onPushDisabled();
  const bool isSigned = onSigned("", "", "", "");
  return !onURL("https://example.com") && !isSigned ? 0 : 1;
}
