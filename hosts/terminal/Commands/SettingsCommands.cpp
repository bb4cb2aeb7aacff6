// Reads and writes single settings, which the host shares with the library. Every write is flushed, so that
// another process sees it.
#include <exception>

#include "hosts/terminal/Commands/Command.h"
#include "hosts/terminal/SettingJSON.h"

namespace lumora_host {
namespace {

void flush(lumora::SettingsStore& settings) {
  if (!settings.synchronize()) throw CommandError("the settings cannot be written to their file");
}

CommandResult readSetting(Host& host, const Arguments& arguments) {
  return settingToJSON(host.platform.settings().object(arguments.text(0)));
}

CommandResult writeSetting(Host& host, const Arguments& arguments) {
  const std::string key = arguments.text(0);
  const lumora::Value value = settingFromJSON(arguments.json(1));
  if (value.isNull()) throw CommandError("a setting cannot be null");
  try {
    host.platform.settings().setObject(key, value);
  } catch (const std::exception& error) {
    throw CommandError(error.what());
  }
  flush(host.platform.settings());
  return std::nullopt;
}

CommandResult removeSetting(Host& host, const Arguments& arguments) {
  host.platform.settings().removeObject(arguments.text(0));
  flush(host.platform.settings());
  return std::nullopt;
}

}  // namespace

CommandTable settingsCommands() {
  return {
      {"setting", {1, 1, readSetting}},
      {"set-setting", {2, 2, writeSetting}},
      {"remove-setting", {1, 1, removeSetting}},
  };
}

}  // namespace lumora_host
