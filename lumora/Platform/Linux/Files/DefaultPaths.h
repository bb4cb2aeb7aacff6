#pragma once

#include <string>

namespace lumora {

/// The running program's file, by the name under which it was started.
std::string programPath();

/// `$XDG_DATA_HOME`, or `~/.local/share`.
std::string userDataFolder();

/// `$XDG_CACHE_HOME`, or `~/.cache`.
std::string userCacheFolder();

/// The path from the root, without a trailing slash. A relative one counts from the folder, never from the
/// working directory.
std::string absolutePath(const std::string& path, const std::string& folder);

}  // namespace lumora
