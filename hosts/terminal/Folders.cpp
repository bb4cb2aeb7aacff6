// The folders of the host's own data, and where its keychain and its resources lie by default. What the files
// in them hold is the library's business.
#include "hosts/terminal/Folders.h"

#include <sys/stat.h>

#include <cstdlib>
#include <filesystem>

#include "hosts/terminal/Options.h"

namespace lumora_host {

namespace fs = std::filesystem;

namespace {

fs::path environmentPath(const char* name) {
  const char* const value = std::getenv(name);
  return value == nullptr ? fs::path() : fs::path(value);
}

}  // namespace

DataFolders makeDataFolders(const std::string& directory) {
  std::error_code error;
  fs::path root = fs::absolute(directory, error).lexically_normal();
  if (!root.has_filename()) root = root.parent_path();
  fs::create_directories(root.parent_path(), error);
  ::mkdir(root.c_str(), S_IRWXU);
  if (!fs::is_directory(root, error)) throw OptionError("--data cannot be made a folder: " + directory);

  const DataFolders folders{root / "Documents", root / "Caches", root / "settings.json"};
  // The library makes the documents folder; whether this one can be used it finds out.
  ::mkdir(folders.caches.c_str(), S_IRWXU);
  return folders;
}

std::string defaultKeychainFile() {
  fs::path dataHome = environmentPath("XDG_DATA_HOME");
  if (!dataHome.is_absolute()) dataHome = environmentPath("HOME") / ".local" / "share";
  return dataHome / "lumora-host" / "keychain";
}

std::string defaultResourcesDirectory() {
  std::error_code error;
  const fs::path program = fs::read_symlink("/proc/self/exe", error).parent_path();
  const fs::path beside = program / "resources";
  for (const fs::path& candidate : {beside, program / LUMORA_HOST_INSTALLED_RESOURCES}) {
    if (fs::is_directory(candidate, error)) return candidate.lexically_normal();
  }
  return beside;
}

}  // namespace lumora_host
