#pragma once

#include <string>

namespace lumora {

/// The running program's file.
std::string programPath();

/// `$XDG_DATA_HOME`, or `~/.local/share`.
std::string userDataFolder();

/// `$XDG_CACHE_HOME`, or `~/.cache`.
std::string userCacheFolder();

/// The path from the root, without a trailing slash.
std::string absolutePath(const std::string& path);

}  // namespace lumora
