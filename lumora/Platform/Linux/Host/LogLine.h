#pragma once

#include <optional>
#include <string_view>

namespace lumora {

enum class LogLineKind { developer, trace };

/// Whether a line is for the host's developer and free of values that only a trace may show.
LogLineKind kindOfLogLine(std::string_view message);

/// Where a trace line says that it comes from.
struct LogLineOrigin {
  std::string_view operation;
  std::string_view line;
};

/// The origin that a line begins with, if it has one.
std::optional<LogLineOrigin> originOfLogLine(std::string_view message);

}  // namespace lumora
