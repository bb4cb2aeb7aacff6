#pragma once

#include <fmt/format.h>

#include <optional>
#include <string>

#include "lumora/Platform/Platform.h"

namespace lumora {

/// Where a trace line comes from: the operation's full name, and the number that marks the message.
struct TracePoint {
  const char* operation;
  int line;
};

/// What `logLine` and `logTrace` do, once for all kinds of arguments. A line that cannot be written, for want
/// of memory or since the host's log throws, is left out: what it tells of goes on.
void writeLine(fmt::string_view format, fmt::format_args arguments) noexcept;
void writeTrace(TracePoint origin, fmt::string_view format, fmt::format_args arguments) noexcept;

/// Writes one line to the system log.
template <typename... Arguments>
void logLine(fmt::format_string<Arguments...> format, Arguments&&... arguments) {
  writeLine(format, fmt::make_format_args(arguments...));
}

/// Writes one trace line: its origin, then the message.
template <typename... Arguments>
void logTrace(TracePoint origin, fmt::format_string<Arguments...> format, Arguments&&... arguments) {
  writeTrace(origin, format, fmt::make_format_args(arguments...));
}

/// How log lines print a text that may be absent.
inline std::string textOrNull(const std::optional<std::string>& text) {
  return text.value_or("(null)");
}

}  // namespace lumora
