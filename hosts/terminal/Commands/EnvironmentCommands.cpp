// Time, network and waiting: what surrounds the host, as far as a script can move it.
#include <array>
#include <chrono>

#include "hosts/terminal/Commands/Command.h"
#include "lumora/Facade/Lumora.h"

namespace lumora_host {
namespace {

std::chrono::microseconds duration(double seconds) {
  return std::chrono::round<std::chrono::microseconds>(std::chrono::duration<double>(seconds));
}

CommandResult advance(Host& host, const Arguments& arguments) {
  host.platform.clock().advance(duration(arguments.seconds(0)));
  return std::nullopt;
}

CommandResult sleepFor(Host& host, const Arguments& arguments) {
  host.loop.runFor(duration(arguments.seconds(0)));
  return std::nullopt;
}

CommandResult drain(Host& host, const Arguments&) {
  lumora::Lumora& facade = lumora::Lumora::sharedInstance();
  const std::array<lumora::TaskQueue*, 2> queues{&facade.serialQueue(), &facade.serialInAppQueue()};
  host.loop.drain(queues);
  return std::nullopt;
}

CommandResult setNetwork(Host& host, const Arguments& arguments) {
  const std::string state = arguments.text(0);
  if (state == "online") {
    host.platform.network().setState(NetworkState::online);
  } else if (state == "offline") {
    host.platform.network().setState(NetworkState::offline);
  } else if (state == "unknown-host") {
    host.platform.network().setState(NetworkState::unknownHost);
  } else {
    throw CommandError("not online, offline or unknown-host: " + state);
  }
  return std::nullopt;
}

}  // namespace

CommandTable environmentCommands() {
  return {
      {"advance", {1, 1, advance}},
      {"network", {1, 1, setNetwork}},
      {"sleep", {1, 1, sleepFor}},
      {"drain", {0, 0, drain}},
  };
}

}  // namespace lumora_host
