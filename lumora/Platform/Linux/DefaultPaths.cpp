#include "lumora/Platform/Linux/DefaultPaths.h"

#include <pwd.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <vector>

namespace lumora {
namespace {

std::string homeFolder() {
  if (const char* home = std::getenv("HOME"); home && *home == '/') return home;
  std::vector<char> texts(16384);
  passwd entry{};
  passwd* found = nullptr;
  if (::getpwuid_r(::getuid(), &entry, texts.data(), texts.size(), &found) == 0 && found)
    return found->pw_dir;
  return "/";
}

/// Relative paths in these variables are to be ignored.
std::string folderFromVariable(const char* variable, const char* belowHome) {
  if (const char* value = std::getenv(variable); value && *value == '/') return absolutePath(value);
  return absolutePath(homeFolder() + "/" + belowHome);
}

}  // namespace

std::string programPath() {
  std::error_code error;
  return std::filesystem::read_symlink("/proc/self/exe", error).string();
}

std::string userDataFolder() {
  return folderFromVariable("XDG_DATA_HOME", ".local/share");
}

std::string userCacheFolder() {
  return folderFromVariable("XDG_CACHE_HOME", ".cache");
}

std::string absolutePath(const std::string& path) {
  std::error_code error;
  const std::filesystem::path absolute = std::filesystem::absolute(path, error).lexically_normal();
  std::string text = error ? path : absolute.string();
  if (text.size() > 1 && text.ends_with('/')) text.pop_back();
  return text;
}

}  // namespace lumora
