// Reading and replacing whole files, and making folders. Who may replace a file, and when, is for StoreFile
// and LinuxFileSystem to say.
#include "lumora/Platform/Linux/Files/Files.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <system_error>
#include <utility>

#include "lumora/Platform/Linux/Tasks/ProcessEnd.h"

namespace lumora {
namespace {

constexpr std::string_view kTemporaryPrefix = ".lumora-tmp-";

/// A new file that goes again unless it is moved to its final name. Its writer holds a lock on it, which ends
/// with the process: that tells a file that is being written from one that was left behind.
class TemporaryFile {
 public:
  explicit TemporaryFile(const std::string& folder) {
    // Whoever tidies the folder up may be faster than the lock; then another file is made.
    do {
      path_ = folder + "/" + std::string(kTemporaryPrefix) + "XXXXXX";
      file_ = FileDescriptor(::mkostemp(path_.data(), O_CLOEXEC));
    } while (file_.isOpen() && !lock());
  }
  ~TemporaryFile() {
    if (file_.isOpen()) ::unlink(path_.c_str());
  }
  TemporaryFile(const TemporaryFile&) = delete;
  TemporaryFile& operator=(const TemporaryFile&) = delete;

  bool write(std::string_view bytes, bool isSynced) {
    if (!file_.isOpen()) return false;
    while (!bytes.empty()) {
      const ssize_t written = ::write(file_.get(), bytes.data(), bytes.size());
      if (written < 0 && errno == EINTR) continue;
      if (written <= 0) return false;
      bytes.remove_prefix(static_cast<std::size_t>(written));
    }
    // The bytes before the name: a power cut must not leave the new name with nothing in it.
    return !isSynced || ::fsync(file_.get()) == 0;
  }

  FileDescriptor moveTo(const std::string& path) {
    if (std::rename(path_.c_str(), path.c_str()) != 0) return {};
    // Only under its final name, where nobody takes it for one that was left behind.
    ::flock(file_.get(), LOCK_UN);
    return std::move(file_);
  }

 private:
  /// False when the file is gone, or about to go. Where there are no locks nobody tidies up either.
  bool lock() {
    if (::flock(file_.get(), LOCK_EX | LOCK_NB) != 0) return errno != EWOULDBLOCK;
    struct stat status {};
    return ::fstat(file_.get(), &status) != 0 || status.st_nlink > 0;
  }

  std::string path_;
  FileDescriptor file_;
};

void removeAbandonedFiles(const std::string& folder) {
  for (const std::string& name : namesIn(folder).value_or(std::vector<std::string>())) {
    if (!name.starts_with(kTemporaryPrefix)) continue;
    const std::string path = folder + "/" + name;
    const FileDescriptor file(::open(path.c_str(), O_RDWR | O_CLOEXEC | O_NONBLOCK | O_NOFOLLOW));
    if (file.isOpen() && ::flock(file.get(), LOCK_EX | LOCK_NB) == 0) ::unlink(path.c_str());
  }
}

/// A failure is ignored: the file is in its place, and only a power cut could still bring the old one back.
/// That much is left to chance when the process ends, too: a slow disk would take the time that events need.
void syncFolder(const std::string& folder) {
  if (ProcessEnd::hasBegun()) return;
  const FileDescriptor file(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (file.isOpen()) ::fsync(file.get());
}

}  // namespace

std::string reasonOf(int error) {
  return std::generic_category().message(error);
}

std::string parentFolder(const std::string& path) {
  const auto slash = path.rfind('/');
  if (slash == std::string::npos) return ".";
  return slash == 0 ? "/" : path.substr(0, slash);
}

std::string followLinks(std::string path) {
  constexpr int longestChain = 40;  // The system follows no more either.
  for (int links = 0; links < longestChain; ++links) {
    std::error_code error;
    const std::filesystem::path target = std::filesystem::read_symlink(path, error);
    if (error) break;
    path = (std::filesystem::path(path).parent_path() / target).string();
  }
  return path;
}

std::optional<std::vector<std::string>> namesIn(const std::string& folder) {
  const std::unique_ptr<DIR, int (*)(DIR*)> opened(::opendir(folder.c_str()),
                                                   [](DIR* it) { return ::closedir(it); });
  if (!opened) return std::nullopt;
  std::vector<std::string> names;
  errno = 0;
  while (const dirent* entry = ::readdir(opened.get())) {
    const std::string_view name = entry->d_name;
    if (name != "." && name != "..") names.emplace_back(name);
    errno = 0;
  }
  return errno == 0 ? std::optional(std::move(names)) : std::nullopt;
}

bool makeFolders(const std::string& folder) {
  struct stat status {};
  if (::stat(folder.c_str(), &status) == 0) {
    if (!S_ISDIR(status.st_mode)) errno = ENOTDIR;
    return S_ISDIR(status.st_mode);
  }
  if (errno != ENOENT || folder == "." || folder == "/") return false;
  const std::string parent = parentFolder(folder);
  if (!makeFolders(parent)) return false;
  // Another process may have made it just now.
  if (::mkdir(folder.c_str(), 0700) != 0) return errno == EEXIST;
  syncFolder(parent);
  return true;
}

std::optional<std::string> readAll(const FileDescriptor& file) {
  std::string bytes;
  std::array<char, 16384> block{};
  while (bytes.size() <= kMaximumFileSize) {
    const ssize_t count = ::read(file.get(), block.data(), block.size());
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) return std::nullopt;
    if (count == 0) return bytes;
    bytes.append(block.data(), static_cast<std::size_t>(count));
  }
  return std::nullopt;
}

FileDescriptor replaceFile(const std::string& path, std::string_view bytes, FolderSync sync) {
  const std::string target = followLinks(path);
  const std::string folder = parentFolder(target);
  if (!makeFolders(folder)) return {};
  removeAbandonedFiles(folder);
  TemporaryFile temporary(folder);
  const bool isNew = ::access(target.c_str(), F_OK) != 0;
  // When the process ends only what is there already is worth the time: nothing new was sent to anybody.
  if (!temporary.write(bytes, !isNew || !ProcessEnd::hasBegun())) return {};
  FileDescriptor file = temporary.moveTo(target);
  const bool syncs = sync == FolderSync::always || (sync == FolderSync::whenMade && isNew);
  if (file.isOpen() && syncs) syncFolder(folder);
  return file;
}

}  // namespace lumora
