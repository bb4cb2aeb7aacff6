// Tells forked children what they are, and writes their one line: straight to standard error, since the
// host's sink may hold a lock that nobody releases here.
#include "lumora/Platform/Linux/Tasks/ForkWatch.h"

#include <fcntl.h>
#include <pthread.h>
#include <sys/uio.h>
#include <unistd.h>

#include "lumora/Platform/ForkedChild.h"
#include "lumora/Platform/Linux/Network/BrokenPipeGuard.h"

namespace lumora {
namespace {

/// Where standard error was closed, its number may belong to any other file.
bool wasStandardErrorOpen = false;

void writeLine(std::string_view line) {
  if (!wasStandardErrorOpen) return;
  const BrokenPipeGuard guard;
  char lineFeed = '\n';
  const iovec parts[] = {{const_cast<char*>(line.data()), line.size()}, {&lineFeed, 1}};
  // A line that cannot be written is lost.
  [[maybe_unused]] const ssize_t written = ::writev(STDERR_FILENO, parts, 2);
}

}  // namespace

void watchForks() {
  [[maybe_unused]] static const int registered = [] {
    wasStandardErrorOpen = ::fcntl(STDERR_FILENO, F_GETFD) != -1;
    return ::pthread_atfork(nullptr, nullptr, [] { becomeForkedChild(writeLine); });
  }();
}

}  // namespace lumora
