#pragma once

#include <fmt/format.h>

#include <optional>
#include <string>
#include <utility>

#include "lumora/Platform/Platform.h"

namespace lumora {

/// Writes one line to the system log.
template <typename... Arguments>
void logLine(fmt::format_string<Arguments...> format, Arguments&&... arguments) {
  platform().log.write(fmt::format(format, std::forward<Arguments>(arguments)...));
}

/// Where a trace line comes from: the operation's full name, and the number that marks the message.
struct TracePoint {
  const char* operation;
  int line;
};

/// Writes one trace line: its origin, then the message.
template <typename... Arguments>
void logTrace(TracePoint origin, fmt::format_string<Arguments...> format, Arguments&&... arguments) {
  std::string line = fmt::format("LumoraFramework-{} [Line {}] ", origin.operation, origin.line);
  line += fmt::format(format, std::forward<Arguments>(arguments)...);
  platform().log.write(line);
}

/// How log lines print a text that may be absent.
inline std::string textOrNull(const std::optional<std::string>& text) {
  return text.value_or("(null)");
}

}  // namespace lumora
