#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "lumora/Platform/Linux/FileDescriptor.h"

namespace lumora {

/// The folder that holds the path's last component.
std::string parentFolder(const std::string& path);

/// Makes a folder and those above it that are missing, for their owner alone (0700). Returns false when one
/// cannot be made.
bool makeFolders(const std::string& folder);

/// Everything from the descriptor's position to the end of the file; nothing when reading fails.
std::optional<std::string> readAll(const FileDescriptor& file);

/// Puts a file with these bytes in the path's place, or changes nothing: a reader sees the old bytes or the
/// new ones, and so does who comes after a power cut. The file is its owner's alone (0600); missing folders
/// are made. Gives the new file's descriptor, closed on failure.
FileDescriptor replaceFile(const std::string& path, std::string_view bytes);

}  // namespace lumora
