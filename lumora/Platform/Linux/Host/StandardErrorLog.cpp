// Standard error belongs to the host and often to other programs too: it is never made non-blocking, but
// asked for room before each piece. Only another writer that takes the room in between can still make a piece
// wait.
#include "lumora/Platform/Linux/Host/StandardErrorLog.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <limits.h>
#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <optional>
#include <string>

#include "lumora/Platform/Linux/Host/LocalTime.h"
#include "lumora/Platform/Linux/Network/BrokenPipeGuard.h"

namespace lumora {
namespace {

constexpr std::string_view kDim = "\x1b[2m";
constexpr std::string_view kPlain = "\x1b[0m";

bool wantsColours() {
  const auto variable = [](const char* name) {
    const char* const value = std::getenv(name);
    return std::string_view(value ? value : "");
  };
  return variable("NO_COLOR").empty() && !variable("TERM").empty() && variable("TERM") != "dumb";
}

bool hasRoom(int milliseconds) {
  pollfd reader{STDERR_FILENO, POLLOUT, 0};
  return ::poll(&reader, 1, milliseconds) > 0;
}

/// False when not all of it could be written. Without a limit it takes as long as the reader does.
bool writeOut(std::string_view text, std::optional<int> milliseconds) {
  const BrokenPipeGuard guard;
  // As much as a pipe with room takes at once.
  const std::size_t piece = milliseconds ? PIPE_BUF : text.size();
  while (!text.empty()) {
    if (milliseconds && !hasRoom(*milliseconds)) return false;
    const ssize_t written = ::write(STDERR_FILENO, text.data(), std::min(piece, text.size()));
    if (written < 0 && errno == EINTR) continue;
    if (written <= 0) return false;
    text.remove_prefix(static_cast<std::size_t>(written));
  }
  return true;
}

/// What a message may not do is to steer the terminal.
std::string withoutControls(std::string_view message) {
  std::string text(message);
  std::ranges::replace_if(
      text, [](unsigned char c) { return (c < ' ' && c != '\n' && c != '\t') || c == 0x7f; }, '?');
  return text;
}

std::string decorated(std::string_view message, LogLineKind kind, bool hasColours) {
  const LocalTime now = currentLocalTime();
  const std::string time = fmt::format("{:02}:{:02}:{:02}", now.hour, now.minute, now.second);
  const std::string text = withoutControls(message);
  if (!hasColours) return time + ' ' + text;
  // A trace steps back behind the lines for developers.
  return kind == LogLineKind::trace ? fmt::format("{}{} {}{}", kDim, time, text, kPlain)
                                    : fmt::format("{}{}{} {}", kDim, time, kPlain, text);
}

}  // namespace

StandardErrorLog::StandardErrorLog()
    : isOpen_(::fcntl(STDERR_FILENO, F_GETFD) != -1), hasColours_(wantsColours()) {}

void StandardErrorLog::writeBare(std::string_view message) const {
  if (!isOpen_) return;
  // Message and line feed in one call, so that the lines of several threads do not mix.
  std::string line;
  line.reserve(message.size() + 1);
  line.append(message).push_back('\n');
  writeOut(line, std::nullopt);
}

bool StandardErrorLog::write(std::string_view message, LogLineKind kind, int milliseconds) const {
  // Who has closed it wants no lines: none is lost.
  if (!isOpen_) return true;
  // Asked each time: a host may send its errors to a file later.
  const bool isTerminal = ::isatty(STDERR_FILENO) == 1;
  std::string line = isTerminal ? decorated(message, kind, hasColours_) : std::string(message);
  line.push_back('\n');
  return writeOut(line, milliseconds);
}

}  // namespace lumora
