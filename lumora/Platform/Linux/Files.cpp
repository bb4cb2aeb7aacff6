#include "lumora/Platform/Linux/Files.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstdlib>

namespace lumora {
namespace {

/// A new file that goes again unless it is moved to its final name. A file that a killed process left behind
/// begins with a dot and ends in a random suffix, so nobody takes it for a finished one.
class TemporaryFile {
 public:
  explicit TemporaryFile(const std::string& folder)
      : path_(folder + "/.lumora-tmp-XXXXXX"), file_(::mkostemp(path_.data(), O_CLOEXEC)) {}
  ~TemporaryFile() {
    if (file_.isOpen()) ::unlink(path_.c_str());
  }
  TemporaryFile(const TemporaryFile&) = delete;
  TemporaryFile& operator=(const TemporaryFile&) = delete;

  bool write(std::string_view bytes) {
    if (!file_.isOpen()) return false;
    while (!bytes.empty()) {
      const ssize_t written = ::write(file_.get(), bytes.data(), bytes.size());
      if (written < 0 && errno == EINTR) continue;
      if (written <= 0) return false;
      bytes.remove_prefix(static_cast<std::size_t>(written));
    }
    return ::fsync(file_.get()) == 0;
  }

  FileDescriptor moveTo(const std::string& path) {
    if (std::rename(path_.c_str(), path.c_str()) != 0) return {};
    return std::move(file_);
  }

 private:
  std::string path_;
  FileDescriptor file_;
};

}  // namespace

std::string parentFolder(const std::string& path) {
  const auto slash = path.rfind('/');
  if (slash == std::string::npos) return ".";
  return slash == 0 ? "/" : path.substr(0, slash);
}

bool makeFolders(const std::string& folder) {
  struct stat status {};
  if (::stat(folder.c_str(), &status) == 0) return S_ISDIR(status.st_mode);
  if (errno != ENOENT || folder == "." || folder == "/") return false;
  if (!makeFolders(parentFolder(folder))) return false;
  return ::mkdir(folder.c_str(), 0700) == 0 || errno == EEXIST;
}

std::optional<std::string> readAll(const FileDescriptor& file) {
  std::string bytes;
  std::array<char, 16384> block{};
  for (;;) {
    const ssize_t count = ::read(file.get(), block.data(), block.size());
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) return std::nullopt;
    if (count == 0) return bytes;
    bytes.append(block.data(), static_cast<std::size_t>(count));
  }
}

FileDescriptor replaceFile(const std::string& path, std::string_view bytes) {
  const std::string folder = parentFolder(path);
  if (!makeFolders(folder)) return {};
  TemporaryFile temporary(folder);
  if (!temporary.write(bytes)) return {};
  // The folder is not synced: after a power cut the old file may be back, whole.
  return temporary.moveTo(path);
}

}  // namespace lumora
