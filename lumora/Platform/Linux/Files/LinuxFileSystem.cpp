// Plain files, such as the pictures in the cache. Files that several processes change are in StoreFile.cpp
// and LinuxSharedFiles.cpp, the replacing of a file in Files.cpp.
#include "lumora/Platform/Linux/Files/LinuxFileSystem.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>
#include <utility>

#include "lumora/Platform/Linux/Files/Files.h"

namespace lumora {
namespace {

/// The system reads a path up to its first NUL, and would take such a one for another. A relative path would
/// mean whatever the working directory is.
bool isPath(const std::string& text) {
  return text.starts_with('/') && text.find('\0') == std::string::npos;
}

}  // namespace

LinuxFileSystem::LinuxFileSystem(std::string documentsDirectory, std::string cachesDirectory)
    : documentsDirectory_(std::move(documentsDirectory)), cachesDirectory_(std::move(cachesDirectory)) {}

std::string LinuxFileSystem::documentsDirectory() {
  return documentsDirectory_;
}

std::string LinuxFileSystem::cachesDirectory() {
  return cachesDirectory_;
}

bool LinuxFileSystem::fileExists(const std::string& path) {
  return isPath(path) && ::access(path.c_str(), F_OK) == 0;
}

std::optional<std::vector<std::string>> LinuxFileSystem::list(const std::string& directory) {
  return isPath(directory) ? namesIn(directory) : std::nullopt;
}

std::optional<std::string> LinuxFileSystem::read(const std::string& path) {
  if (!isPath(path)) return std::nullopt;
  // O_NONBLOCK: opening a pipe that lies there must not wait for its writer.
  const FileDescriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
  struct stat status {};
  if (!file.isOpen() || ::fstat(file.get(), &status) != 0 || !S_ISREG(status.st_mode)) return std::nullopt;
  return readAll(file);
}

bool LinuxFileSystem::writeAtomically(const std::string& path, std::string_view bytes) {
  // Without a sync of the folder: what is written here can be fetched again.
  return isPath(path) && replaceFile(path, bytes, FolderSync::never).isOpen();
}

std::optional<std::string> LinuxFileSystem::remove(const std::string& path) {
  if (!isPath(path)) return "Not a path";
  if (::unlink(path.c_str()) == 0) return std::nullopt;
  return std::generic_category().message(errno);
}

}  // namespace lumora
