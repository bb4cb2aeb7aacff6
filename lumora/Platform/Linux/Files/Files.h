#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "lumora/Platform/Linux/Files/FileDescriptor.h"

namespace lumora {

/// Files that are read whole are no larger.
inline constexpr std::size_t kMaximumFileSize = std::size_t{16} << 20;

/// When a new file's name is made to survive a power cut, besides its bytes. Until then the old file may be
/// back, whole.
enum class FolderSync { never, whenMade, always };

/// The system's error as a text for people.
std::string reasonOf(int error);

/// The folder that holds the path's last component.
std::string parentFolder(const std::string& path);

/// The path at the end of the symbolic links that begin here, whether or not something lies there.
std::string followLinks(std::string path);

/// The names of what is in a folder; nothing when it cannot be read. Not by the standard library's iterator,
/// which ends the process when memory runs out.
std::optional<std::vector<std::string>> namesIn(const std::string& folder);

/// Makes a folder and those above it that are missing, for their owner alone (0700). Returns false when one
/// cannot be made; `errno` tells why.
bool makeFolders(const std::string& folder);

/// Everything from the descriptor's position to the end of the file; nothing when reading fails or the file
/// is too large.
std::optional<std::string> readAll(const FileDescriptor& file);

/// Puts a file with these bytes in the path's place, or changes nothing: a reader sees the old bytes or the
/// new ones, and so does who comes after a power cut. A symbolic link stays one; its target is replaced. The
/// file is its owner's alone (0600); missing folders are made, and what killed processes left half written in
/// the folder is removed. Gives the new file's descriptor, closed on failure; `errno` tells why.
FileDescriptor replaceFile(const std::string& path, std::string_view bytes, FolderSync sync);

}  // namespace lumora
