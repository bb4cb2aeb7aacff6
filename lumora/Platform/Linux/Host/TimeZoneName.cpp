// The name of the zone that this process is in, which the C library applies but does not tell. Offsets are
// LinuxClock's.
#include "lumora/Platform/Linux/Host/TimeZoneName.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "lumora/Platform/ASCII.h"

namespace lumora {
namespace {

constexpr std::string_view kUTC = "UTC";

bool mayStandInZoneName(char c) {
  return isASCIILetter(c) || isASCIIDigit(c) || c == '_' || c == '/' || c == '-' || c == '+';
}

/// "/usr/share/zoneinfo/Europe/Paris" names "Europe/Paris".
std::string_view zoneInPath(std::string_view path) {
  constexpr std::string_view folder = "/zoneinfo/";
  const auto position = path.find(folder);
  if (position == std::string_view::npos) return {};
  std::string_view zone = path.substr(position + folder.size());
  // The same zones once more, without and with leap seconds.
  for (const std::string_view variant : {"posix/", "right/"}) {
    if (zone.starts_with(variant)) zone.remove_prefix(variant.size());
  }
  return zone;
}

bool isInstalledZone(std::string_view zone) {
  std::error_code error;
  return std::filesystem::is_regular_file(std::filesystem::path("/usr/share/zoneinfo") / zone, error);
}

std::string zoneOfSystem() {
  std::error_code error;
  const std::string link = std::filesystem::read_symlink("/etc/localtime", error).string();
  if (const auto zone = zoneInPath(link); !zone.empty()) return std::string(zone);
  std::ifstream file("/etc/timezone");
  std::string zone;
  std::getline(file, zone);
  zone.erase(zone.find_last_not_of(" \t\r") + 1);
  return zone.empty() ? std::string(kUTC) : zone;
}

}  // namespace

std::optional<std::string> timeZoneNameFromVariable(std::string_view value) {
  if (value.starts_with(':')) value.remove_prefix(1);
  if (value.starts_with('/')) value = zoneInPath(value);
  if (value.empty() || !std::ranges::all_of(value, mayStandInZoneName)) return std::nullopt;
  // Names with a region need no look-up: they are right also where no zones are installed.
  const bool hasRegion = isASCIILetter(value.front()) && value.find('/') != std::string_view::npos;
  if (!hasRegion && value != kUTC && !isInstalledZone(value)) return std::nullopt;
  return std::string(value);
}

std::string currentTimeZoneName() {
  const char* variable = std::getenv("TZ");
  if (!variable) return zoneOfSystem();
  // Rules that name no zone hold all the same; only the name is wanting.
  return timeZoneNameFromVariable(variable).value_or(std::string(kUTC));
}

}  // namespace lumora
