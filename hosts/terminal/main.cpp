// The terminal host: options, the platform, then commands until the input ends. The commands themselves are
// in Commands/.
#include <fcntl.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "hosts/terminal/Commands/CommandRunner.h"
#include "hosts/terminal/HostLoop.h"
#include "hosts/terminal/HostPlatform.h"
#include "hosts/terminal/Options.h"
#include "hosts/terminal/Output.h"
#include "hosts/terminal/TerminationSignals.h"

namespace {

using namespace lumora_host;

constexpr int kUsageExitStatus = 64;

int openInput(const Options& options) {
  if (!options.scriptFile) return STDIN_FILENO;
  const int descriptor = ::open(options.scriptFile->c_str(), O_RDONLY | O_CLOEXEC);
  if (descriptor < 0) throw OptionError("--script cannot be read: " + *options.scriptFile);
  return descriptor;
}

/// Runs every command and gives the exit status.
int runCommands(HostPlatform& platform, HostLoop& loop, Output& output) {
  Host host{platform, loop};
  CommandRunner runner(host, output);
  output.write(JSONObject().add("ready", true));
  for (long number = 1; !host.isQuitting; ++number) {
    const auto line = loop.nextLine();
    if (!line) break;
    runner.run(*line, number);
  }
  if (!host.isQuitting) platform.mainQueue().runPending();
  return runner.hasFailed() ? EXIT_FAILURE : EXIT_SUCCESS;
}

}  // namespace

int main(int argc, char** argv) {
  // Connections and pipes that the other side has closed are reported by value.
  std::signal(SIGPIPE, SIG_IGN);
  const TerminationSignals signals;
  try {
    const auto options = parseOptions(std::vector<std::string>(argv + 1, argv + argc));
    if (!options) return std::fputs(optionsHelp().c_str(), stdout) < 0 ? EXIT_FAILURE : EXIT_SUCCESS;
    const int input = openInput(*options);
    Output output(STDOUT_FILENO);
    HostPlatform platform(*options, output);
    platform.install();
    HostLoop loop(input, platform.mainQueue(), platform.queues(), signals);
    // Not by a return: the library's threads may still be at work with what would be destroyed then.
    std::exit(runCommands(platform, loop, output));
  } catch (const OptionError& error) {
    std::fprintf(stderr, "lumora-host: %s\n", error.what());
    return kUsageExitStatus;
  }
}
