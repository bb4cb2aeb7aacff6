// The device as the host describes it, and where it does not, as the system and the environment do. What the
// service is told of it is put together in LMRUtilDevice.cpp.
#include "lumora/Platform/Linux/Host/LinuxDevice.h"

#include <sys/utsname.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <utility>

#include "lumora/Platform/Linux/Host/TimeZoneName.h"

namespace lumora {
namespace {

/// The number decides which notification service is used. A kernel's or a distribution's would decide it by
/// chance; this one stands for a system that has the newer service.
constexpr std::string_view kDefaultSystemVersion = "10.0";

utsname systemNames() {
  utsname names{};
  ::uname(&names);
  return names;
}

std::string hostName() {
  std::array<char, 256> name{};
  if (::gethostname(name.data(), name.size() - 1) != 0) return "Linux";
  return name.data();
}

/// The locale that the environment asks for, without its encoding and variant: "de_DE.UTF-8@euro" is "de_DE".
std::string environmentLocale() {
  for (const char* variable : {"LC_ALL", "LANG"}) {
    const char* value = std::getenv(variable);
    if (!value || *value == '\0') continue;
    const std::string_view text(value);
    const std::string locale(text.substr(0, text.find_first_of(".@")));
    if (locale.empty() || locale == "C" || locale == "POSIX") break;
    return locale;
  }
  return "en_US";
}

}  // namespace

LinuxDevice::LinuxDevice(Description description) : description_(std::move(description)) {}

std::string LinuxDevice::model() {
  return description_.model.value_or("Linux");
}

std::string LinuxDevice::systemVersion() {
  return description_.systemVersion.value_or(std::string(kDefaultSystemVersion));
}

std::string LinuxDevice::name() {
  return description_.name ? *description_.name : hostName();
}

std::string LinuxDevice::localeIdentifier() {
  return description_.localeIdentifier ? *description_.localeIdentifier : environmentLocale();
}

std::vector<std::string> LinuxDevice::preferredLanguages() {
  if (!description_.preferredLanguages.empty()) return description_.preferredLanguages;
  std::string language = environmentLocale();
  std::ranges::replace(language, '_', '-');
  return {std::move(language)};
}

std::string LinuxDevice::timeZoneName() {
  return currentTimeZoneName();
}

std::optional<std::string> LinuxDevice::carrierName() {
  // An empty name names no carrier.
  return description_.carrierName == "" ? std::nullopt : description_.carrierName;
}

std::string LinuxDevice::machineIdentifier() {
  return description_.machineIdentifier ? *description_.machineIdentifier : systemNames().machine;
}

}  // namespace lumora
