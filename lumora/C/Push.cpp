// Push tokens and payloads, notifications, links.
#include "lumora/C/Arguments.h"
#include "lumora/C/Collections.h"
#include "lumora/C/Facade.h"
#include "lumora/C/HostPlatform.h"

using namespace lumora::c;

lumora_result lumora_register_push_token(lumora_data token) {
  return guarded([&] { facade().registerPushDeviceToken(optionalData(token)); });
}

lumora_result lumora_unregister_push_token(void) {
  return guarded([] { facade().unregisterPushDeviceToken(); });
}

lumora_result lumora_get_push_token(char* buffer, size_t capacity, size_t* length) {
  return guarded([&] { give(facade().getPushDeviceToken(), buffer, capacity, length); });
}

bool lumora_is_push_registered(void) {
  return guardedValue(false, [] { return facade().isPushRegistered(); });
}

lumora_result lumora_handle_push(lumora_map payload) {
  return guarded([&] { facade().handlePushNotification(contentsOf<lumora::Dictionary>(payload)); });
}

lumora_result lumora_track_push(lumora_map notification) {
  return guarded([&] { facade().trackPushNotification(contentsOf<lumora::Dictionary>(notification)); });
}

lumora_result lumora_notification_tapped(const lumora_notification* notification) {
  return guarded([&] {
    requireMainThread();
    const lumora::NotificationResponse response{notificationRequest(notification)};
    facade().userNotificationCenterDidReceiveNotificationResponse(response, [] {});
  });
}

lumora_result lumora_open_url(lumora_text url, bool* handled) {
  return guarded([&] {
    requireMainThread();
    if (handled != nullptr) *handled = false;
    const auto parsed = lumora::URL::parse(requiredText(url));
    if (!parsed) fail(LUMORA_BAD_ARGUMENT);
    const bool accepted = facade().applicationOpenURL(*parsed);
    if (handled != nullptr) *handled = accepted;
  });
}
