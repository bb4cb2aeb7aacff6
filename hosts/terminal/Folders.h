#pragma once

#include <string>

namespace lumora_host {

/// Where the host keeps its own data.
struct DataFolders {
  std::string documents;
  std::string caches;
  std::string settingsFile;
};

/// Makes the data folder and what lies in it where they are missing, for the owner alone. Throws OptionError
/// when `directory` cannot be a folder.
DataFolders makeDataFolders(const std::string& directory);

/// `$XDG_DATA_HOME/lumora-host/keychain`, or the same under `~/.local/share`.
std::string defaultKeychainFile();

/// The resources that were built or installed together with the running program.
std::string defaultResourcesDirectory();

}  // namespace lumora_host
