#include "bindings/Folders.h"

#include <string>

#include "lumora/Platform/Bundle.h"
#include "lumora/Platform/Linux/Files/DefaultPaths.h"

namespace lumora::bindings {

LinuxPlatformOptions withOwnFolders(LinuxPlatformOptions options) {
  const auto found = options.info.find(kBundleIdentifierKey);
  if (found == options.info.end()) return options;
  const std::string& name = found->second;
  if (name.empty() || name == "." || name == ".." || name.find_first_of(std::string("/\0", 2)) != name.npos)
    return options;
  const auto place = [&name](std::string& path, const char* fallback, const std::string& folder) {
    path = absolutePath(path.empty() ? fallback : path, folder + "/" + name);
  };
  place(options.documentsDirectory, "Documents", userDataFolder());
  place(options.settingsFile, "settings.json", userDataFolder());
  place(options.cachesDirectory, "lumora", userCacheFolder());
  return options;
}

}  // namespace lumora::bindings
