// All commands by their words; each topic brings its own.
#include "hosts/terminal/Commands/Command.h"

namespace lumora_host {

const CommandTable& commandTable() {
  static const CommandTable table = [] {
    CommandTable all;
    for (auto* topic : {lifecycleCommands, trackingCommands, environmentCommands, settingsCommands,
                        secureModeCommands, pushCommands, deepLinkCommands, messageCommands}) {
      all.merge(topic());
    }
    return all;
  }();
  return table;
}

}  // namespace lumora_host
