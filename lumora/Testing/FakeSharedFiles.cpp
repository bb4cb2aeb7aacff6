// Folders and files are real, locks a table: one process is all that a test has. Waiting for a lock is
// FileLock's, by the fake clock.
#include "lumora/Testing/FakeSharedFiles.h"

#include <filesystem>
#include <fstream>

namespace lumora::testing {
namespace {

namespace fs = std::filesystem;

constexpr const char* kFailure = "the test makes this fail";

std::optional<std::string> reasonOf(const std::error_code& error) {
  if (!error) return std::nullopt;
  return error.message();
}

bool isPath(const std::string& text) {
  return !text.empty() && text.find('\0') == std::string::npos;
}

}  // namespace

std::optional<std::string> FakeSharedFiles::makeFolder(const std::string& path) {
  if (fails_) return kFailure;
  if (!isPath(path)) return "not a path";
  std::error_code error;
  if (fs::is_directory(path, error)) return std::nullopt;
  if (fs::exists(path, error)) return "not a folder";
  if (const auto reason = makeFolder(fs::path(path).parent_path())) return reason;
  if (fs::create_directory(path, error)) fs::permissions(path, fs::perms::owner_all, error);
  return reasonOf(error);
}

std::optional<std::string> FakeSharedFiles::makePrivateFile(const std::string& path) {
  if (fails_) return kFailure;
  if (!isPath(path)) return "not a path";
  std::error_code error;
  if (!fs::exists(path, error)) std::ofstream(path).flush();
  if (!fs::is_regular_file(path, error)) return "not a file";
  fs::permissions(path, fs::perms::owner_read | fs::perms::owner_write, error);
  return reasonOf(error);
}

std::optional<std::string> FakeSharedFiles::moveAside(const std::string& path, const std::string& newPath) {
  if (fails_) return kFailure;
  if (!isPath(path) || !isPath(newPath)) return "not a path";
  std::error_code error;
  if (fs::exists(newPath, error)) return "that name is taken";
  fs::rename(path, newPath, error);
  return reasonOf(error);
}

FileLockState FakeSharedFiles::tryLock(const std::string& path) {
  if (locksUnsupported_ || !isPath(path)) return FileLockState::unsupported;
  Lock lock(mutex_);
  return locked_.insert(path).second ? FileLockState::taken : FileLockState::busy;
}

void FakeSharedFiles::unlock(const std::string& path) {
  Lock lock(mutex_);
  locked_.erase(path);
}

bool FakeSharedFiles::sharesMemory(const std::string& /*path*/) {
  return sharesMemory_;
}

bool FakeSharedFiles::isLocked(const std::string& path) {
  Lock lock(mutex_);
  return locked_.contains(path);
}

}  // namespace lumora::testing
