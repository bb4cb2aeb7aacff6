// Where files lie when the host does not say: in the person's folders, by the XDG variables. What lies in
// which is decided in LinuxPlatform.cpp; nothing here depends on the working directory.
#include "lumora/Platform/Linux/Files/DefaultPaths.h"

#include <pwd.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <string_view>
#include <vector>

namespace lumora {
namespace {

std::string homeFolder() {
  if (const char* home = std::getenv("HOME"); home && *home == '/') return home;
  // A HOME that is missing or relative says nothing; the user database does. Its entries are far smaller than
  // this.
  std::vector<char> texts(16384);
  passwd entry{};
  passwd* found = nullptr;
  if (::getpwuid_r(::getuid(), &entry, texts.data(), texts.size(), &found) == 0 && found)
    return found->pw_dir;
  return "/";
}

/// Relative paths in these variables are to be ignored.
std::string folderFromVariable(const char* variable, const char* belowHome) {
  if (const char* value = std::getenv(variable); value && *value == '/') return absolutePath(value, "/");
  return absolutePath(belowHome, homeFolder());
}

}  // namespace

std::string programPath() {
  constexpr const char* link = "/proc/self/exe";
  constexpr std::string_view removedMark = " (deleted)";
  std::error_code error;
  std::string path = std::filesystem::read_symlink(link, error).string();
  // The system marks the name of a program whose file was replaced since it started.
  if (path.ends_with(removedMark) && !std::filesystem::equivalent(path, link, error)) {
    path.resize(path.size() - removedMark.size());
  }
  // Without /proc the name alone has to do: folders are called after it.
  return path.empty() ? "/" + std::string(program_invocation_short_name) : path;
}

std::string userDataFolder() {
  return folderFromVariable("XDG_DATA_HOME", ".local/share");
}

std::string userCacheFolder() {
  return folderFromVariable("XDG_CACHE_HOME", ".cache");
}

std::string absolutePath(const std::string& path, const std::string& folder) {
  std::string text = (std::filesystem::path("/") / folder / path).lexically_normal().string();
  if (text.size() > 1 && text.ends_with('/')) text.pop_back();
  return text;
}

}  // namespace lumora
