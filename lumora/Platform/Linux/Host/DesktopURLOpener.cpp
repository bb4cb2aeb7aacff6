// Hands a URL to the desktop, by xdg-open and never through a shell. A host that opens links itself gives an
// opener of its own (LinuxPlatformOptions), and nothing here runs.
#include "lumora/Platform/Linux/Host/DesktopURLOpener.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <future>
#include <memory>
#include <string>
#include <system_error>
#include <thread>

#include "lumora/Platform/ASCII.h"
#include "lumora/Platform/Linux/Tasks/SignalBlocker.h"

namespace lumora {
namespace {

/// How the program starts: in a session of its own, so that what happens to the host's terminal does not
/// reach it, with no signal blocked, and with none of the host's open files.
class SpawnSetup {
 public:
  SpawnSetup() {
    ::posix_spawnattr_init(&attributes);
    ::posix_spawn_file_actions_init(&actions);
    sigset_t signals;
    ::sigemptyset(&signals);
    ::posix_spawnattr_setsigmask(&attributes, &signals);
    ::sigfillset(&signals);
    ::posix_spawnattr_setsigdefault(&attributes, &signals);
    ::posix_spawnattr_setflags(&attributes,
                               POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETSID);
    ::posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    ::posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
    ::posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
    ::posix_spawn_file_actions_addclosefrom_np(&actions, STDERR_FILENO + 1);
  }
  ~SpawnSetup() {
    ::posix_spawn_file_actions_destroy(&actions);
    ::posix_spawnattr_destroy(&attributes);
  }
  SpawnSetup(const SpawnSetup&) = delete;
  SpawnSetup& operator=(const SpawnSetup&) = delete;

  posix_spawnattr_t attributes{};
  posix_spawn_file_actions_t actions{};
};

/// Starts the program, says whether it started, and waits for its end so that no zombie is left.
void runOpener(std::string url, std::promise<bool> started) {
  std::string program = "xdg-open";
  char* const arguments[] = {program.data(), url.data(), nullptr};
  pid_t child = 0;
  const SpawnSetup setup;
  const bool isRunning =
      ::posix_spawnp(&child, program.c_str(), &setup.actions, &setup.attributes, arguments, environ) == 0;
  started.set_value(isRunning);
  while (isRunning && ::waitpid(child, nullptr, 0) < 0 && errno == EINTR) {
  }
}

}  // namespace

bool openURLOnDesktop(const URL& url) {
  const auto scheme = url.scheme();
  if (!scheme || equalsIgnoringCase(*scheme, "file")) return false;
  std::promise<bool> started;
  std::future<bool> result = started.get_future();
  try {
    const SignalBlocker blocker;
    // A thread, since somebody must wait for the program's end; the caller waits only for its start.
    std::thread(runOpener, url.absoluteString(), std::move(started)).detach();
  } catch (const std::system_error&) {
    return false;
  }
  return result.get();
}

}  // namespace lumora
