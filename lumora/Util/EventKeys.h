#pragma once

#include <string_view>

namespace lumora {

// The vocabulary of the event records.

/// In every record.
inline constexpr std::string_view KEY_TIMESTAMP = "timestamp";
inline constexpr std::string_view KEY_EVENT_TYPE = "event_type";

/// The kinds of event.
inline constexpr std::string_view KEY_CHECKPOINT = "checkpoint";
inline constexpr std::string_view KEY_SESSION = "session";
inline constexpr std::string_view KEY_EVENT_INIT = "init";
inline constexpr std::string_view KEY_EVENT_USER = "user";
inline constexpr std::string_view KEY_EVENT_PUSH = "push";
inline constexpr std::string_view KEY_INAPP = "inapp";
inline constexpr std::string_view KEY_UPDATE_TEST_DEVICE = "update_test_device";

/// Checkpoints and sessions.
inline constexpr std::string_view KEY_NAME = "name";
inline constexpr std::string_view KEY_META = "metadata";
inline constexpr std::string_view KEY_TYPE = "type";
inline constexpr std::string_view KEY_TYPE_CUSTOM = "custom";
inline constexpr std::string_view KEY_TYPE_INTERNAL = "internal";
inline constexpr std::string_view KEY_SESSION_NAME = "name";
inline constexpr std::string_view KEY_SESSION_START = "start";
inline constexpr std::string_view KEY_SESSION_DURATION = "duration";

/// Client information.
inline constexpr std::string_view KEY_DEVICE_STATE = "device_state";

/// Push.
inline constexpr std::string_view KEY_PUSH_SUBTYPE = "subtype";
inline constexpr std::string_view KEY_PUSH_CAMPIGN_ID = "cid";
inline constexpr std::string_view KEY_PUSH_TOKEN = "push_token";
inline constexpr std::string_view KEY_PUSH_INIT = "init";
inline constexpr std::string_view KEY_EVENT_PUSH_UNREGISTER = "unregister";
inline constexpr std::string_view KEY_PUSH_OPENED = "opened";
inline constexpr std::string_view KEY_PUSH_DELIVERED = "delivered";

/// In-app messages.
inline constexpr std::string_view KEY_INAPP_TAPPED = "tapped";
inline constexpr std::string_view KEY_INAPP_CAMPAING_ID = "cid";

}  // namespace lumora
