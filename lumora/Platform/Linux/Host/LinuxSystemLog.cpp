// Log lines to the host's sink, or else to standard error. It is called under the library's locks and to the
// very end of the process, so it takes no lock itself and fails silently.
#include "lumora/Platform/Linux/Host/LinuxSystemLog.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <string>
#include <utility>

#include "lumora/Platform/Linux/Network/BrokenPipeGuard.h"
#include "lumora/Platform/Linux/Tasks/ProcessEnd.h"

namespace lumora {
namespace {

void writeToStandardError(std::string_view text) {
  const BrokenPipeGuard guard;
  while (!text.empty()) {
    const ssize_t written = ::write(STDERR_FILENO, text.data(), text.size());
    if (written < 0 && errno == EINTR) continue;
    if (written <= 0) return;
    text.remove_prefix(static_cast<std::size_t>(written));
  }
}

}  // namespace

LinuxSystemLog::LinuxSystemLog(Sink sink)
    : sink_(std::move(sink)), isStandardErrorOpen_(::fcntl(STDERR_FILENO, F_GETFD) != -1) {}

void LinuxSystemLog::write(std::string_view message) {
  if (sink_ && !ProcessEnd::hasBegun()) return sink_(message);
  // Between the two moments a host's line goes nowhere: its sink is not called any more.
  if (sink_ && !ProcessEnd::isOver()) return;
  if (isStandardErrorOpen_) {
    // Message and line feed in one call, so that the lines of several threads do not mix.
    std::string line;
    line.reserve(message.size() + 1);
    line.append(message).push_back('\n');
    writeToStandardError(line);
  }
}

}  // namespace lumora
