// Tells the log's lines apart by their text, for the log itself has no levels: what is for the host's
// developer, and which of these lines hold a value that must not lie in a log by default.
#include "lumora/Platform/Linux/Host/LogLine.h"

#include <algorithm>
#include <array>

namespace lumora {
namespace {

constexpr std::string_view kDeveloperPrefix = "LumoraSDK-";
/// What LinuxAlerts writes when the host shows no alerts: the texts are the library's own.
constexpr std::string_view kAlertPrefix = "Alert: ";
constexpr std::string_view kTracePrefix = "LumoraFramework-";
constexpr std::string_view kLineMark = " [Line ";

/// A developer's line that carries a value: how it begins, and what stands further on in it.
struct ValueLine {
  std::string_view beginning;
  std::string_view further;
};

// clang-format off
constexpr std::array<ValueLine, 10> kValueLines = {{
    // Identifiers that outlive the installation.
    {"LumoraSDK-Current UUID is : ", ""},
    {"LumoraSDK- Successfully register this device as a developer test device/", ""},
    {"LumoraSDK-Failed to register this device as a developer test device/", ""},
    // What came from outside: a push notification's payload and the link in it, a deep link.
    {"LumoraSDK-Received invalid push notification from Lumora- ", ""},
    {"LumoraSDK-Failed to launch action:", ""},
    {"LumoraSDK-Deep link host not matched expected ", ", got "},
    // What the host recorded: a value that had to be made a text, the name of a session.
    {"LumoraSDK-", ". coercing to: "},
    {"LumoraSDK-Session threshold exceeded, unable to start this session ", ""},
    {"LumoraSDK-Session ", " already started."},
    {"LumoraSDK-", " session not started."},
}};
// clang-format on

bool carries(std::string_view message, const ValueLine& line) {
  return message.starts_with(line.beginning) &&
         message.find(line.further, line.beginning.size()) != std::string_view::npos;
}

/// A person's address, or a link with more than a place in it: a query may hold a token. A path may hold "@".
bool isPrivate(std::string_view word) {
  if (word.find("://") != std::string_view::npos) return word.find_first_of("?@#") != std::string_view::npos;
  return word.find('@') != std::string_view::npos && word.find('/') == std::string_view::npos;
}

/// The service's own words stand in some lines, and the addresses of pictures.
bool holdsPrivateWord(std::string_view message) {
  while (!message.empty()) {
    const auto end = std::min(message.find_first_of(" \t\n\"'()<>,;"), message.size());
    if (isPrivate(message.substr(0, end))) return true;
    message.remove_prefix(std::min(end + 1, message.size()));
  }
  return false;
}

}  // namespace

LogLineKind kindOfLogLine(std::string_view message) {
  if (message.starts_with(kAlertPrefix)) return LogLineKind::developer;
  const bool isForDevelopers =
      message.starts_with(kDeveloperPrefix) &&
      std::ranges::none_of(kValueLines, [&](const ValueLine& line) { return carries(message, line); }) &&
      !holdsPrivateWord(message);
  return isForDevelopers ? LogLineKind::developer : LogLineKind::trace;
}

std::optional<LogLineOrigin> originOfLogLine(std::string_view message) {
  if (!message.starts_with(kTracePrefix)) return std::nullopt;
  message.remove_prefix(kTracePrefix.size());
  const auto mark = message.find(kLineMark);
  if (mark == std::string_view::npos) return std::nullopt;
  const std::string_view line = message.substr(mark + kLineMark.size());
  return LogLineOrigin{message.substr(0, mark), line.substr(0, line.find(']'))};
}

}  // namespace lumora
