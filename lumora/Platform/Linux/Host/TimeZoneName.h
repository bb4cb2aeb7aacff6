#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace lumora {

/// The IANA name in a value of the environment variable TZ: "Europe/Paris", ":Europe/Paris" or a path below a
/// `zoneinfo` folder. Nothing for rules that name no zone, such as "CET-1CEST,M3.5.0,M10.5.0/3".
std::optional<std::string> timeZoneNameFromVariable(std::string_view value);

/// The IANA name of the process's time zone: by TZ, else by the system's settings, else "UTC".
std::string currentTimeZoneName();

}  // namespace lumora
