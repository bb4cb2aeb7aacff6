#pragma once

#include <string>
#include <string_view>

namespace lumora::service {

/// Writes a file, mode 0600, under a temporary name that then takes the final one, so that a reader finds
/// all of it or nothing. Throws std::runtime_error.
void writePrivateFile(const std::string& path, std::string_view content);

}  // namespace lumora::service
