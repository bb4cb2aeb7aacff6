// What a person does to a message on screen (Screens.cpp).
#include "hosts/terminal/Commands/Command.h"

namespace lumora_host {
namespace {

CommandResult tap(Host& host, const Arguments& arguments) {
  return host.platform.screens().tap(arguments.text(0));
}

}  // namespace

CommandTable messageCommands() {
  return {
      {"tap", {1, 1, tap}},
  };
}

}  // namespace lumora_host
