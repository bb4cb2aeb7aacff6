#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace lumora::service {

/// Whether a name from the network stays in the folder that it is looked up in.
bool isPlainFileName(std::string_view name);

/// The file's content; nothing when it cannot be read, for the reason in `errno`.
std::optional<std::string> readFile(const std::string& path);

/// Writes a file, mode 0600, under a temporary name that then takes the final one, so that a reader finds
/// all of it or nothing, and a full disk leaves what was there. Throws std::runtime_error.
void writePrivateFile(const std::string& path, std::string_view content);

}  // namespace lumora::service
