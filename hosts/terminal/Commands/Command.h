#pragma once

#include <cstddef>
#include <functional>
#include <map>
#include <optional>
#include <string_view>

#include "hosts/terminal/CommandLine/Arguments.h"
#include "hosts/terminal/HostLoop.h"
#include "hosts/terminal/HostPlatform.h"

namespace lumora_host {

/// What commands work on.
struct Host {
  HostPlatform& platform;
  HostLoop& loop;
  /// Set by the command `quit`.
  bool isQuitting = false;
};

/// What a command answers; nothing when it has no result. A null value is a result.
using CommandResult = std::optional<lumora::Value>;

struct Command {
  std::size_t fewestArguments;
  std::size_t mostArguments;
  /// Throws a CommandError, before it does anything, when the arguments are of no use to it.
  std::function<CommandResult(Host&, const Arguments&)> run;
};

using CommandTable = std::map<std::string_view, Command>;

/// Every command by its word.
const CommandTable& commandTable();

/// The commands of one topic.
CommandTable lifecycleCommands();
CommandTable trackingCommands();
CommandTable environmentCommands();
CommandTable settingsCommands();
CommandTable secureModeCommands();
CommandTable pushCommands();
CommandTable deepLinkCommands();
CommandTable messageCommands();

}  // namespace lumora_host
