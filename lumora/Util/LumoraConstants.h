#pragma once

#include <cstdint>
#include <string_view>

namespace lumora {

/// The library's version.
inline constexpr std::string_view kOstrelSDKVersion = "0.7.4";
/// The same as the number that the service is told.
inline constexpr std::string_view kOstrelSDKVersionInt = "6";

/// The name of the built-in session that runs while the application is in the foreground.
inline constexpr std::string_view kLmroSession = "lmr_app_session";
/// The name of the checkpoint that records an application open, and of the setting that counts them.
inline constexpr std::string_view kLmroAppOpen = "lmr_app_open";

/// How many sessions may be open at once.
inline constexpr std::int32_t MAX_SESSIONS_COUNT = 500;
/// The event that would be the last of so many to wait for upload is dropped, unless its kind is crucial.
inline constexpr std::int32_t MAX_CHECKPOINTS_COUNT = 1000;
/// The version of the database's tables, and the one that comes next.
inline constexpr std::int32_t CURRENT_SCHEMA_VERSION = 1;
inline constexpr std::int32_t NEW_SCHEMA_VERSION = 2;

/// The name of the property list in which a host may keep its own list of trigger events.
inline constexpr std::string_view InAppEventPlist = "InAppEvent.plist";

}  // namespace lumora
