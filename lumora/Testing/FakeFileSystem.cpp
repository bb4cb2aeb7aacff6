// Real files in a temporary folder, since databases need them, with failures at the test's wish. Locks and
// rights between processes are FakeSharedFiles'.
#include "lumora/Testing/FakeFileSystem.h"

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>

namespace lumora::testing {
namespace {

namespace fs = std::filesystem;

constexpr std::uintmax_t kMaximumFileSize = std::uintmax_t{16} << 20;

std::string makeTemporaryFolder() {
  std::string path = (fs::temp_directory_path() / "lumora-fake-XXXXXX").string();
  if (!::mkdtemp(path.data())) throw std::runtime_error("no temporary folder can be made");
  return path;
}

bool isPath(const std::string& text) {
  return text.starts_with('/') && text.find('\0') == std::string::npos;
}

}  // namespace

FakeFileSystem::FakeFileSystem() : root_(makeTemporaryFolder()) {
  fs::create_directory(cachesDirectory());
}

FakeFileSystem::~FakeFileSystem() {
  std::error_code ignored;
  fs::remove_all(root_, ignored);
}

std::string FakeFileSystem::documentsDirectory() {
  return root_ + "/Documents";
}

std::string FakeFileSystem::cachesDirectory() {
  return root_ + "/Caches";
}

bool FakeFileSystem::fileExists(const std::string& path) {
  std::error_code error;
  return isPath(path) && fs::exists(path, error);
}

std::optional<std::vector<std::string>> FakeFileSystem::list(const std::string& directory) {
  std::error_code error;
  if (listFails_ || !isPath(directory)) return std::nullopt;
  std::vector<std::string> names;
  for (const fs::directory_entry& entry : fs::directory_iterator(directory, error)) {
    names.push_back(entry.path().filename().string());
  }
  if (error) return std::nullopt;
  return names;
}

std::optional<std::string> FakeFileSystem::read(const std::string& path) {
  std::error_code error;
  if (readFails_ || !isPath(path) || !fs::is_regular_file(path, error)) return std::nullopt;
  if (fs::file_size(path, error) > kMaximumFileSize) return std::nullopt;
  std::ifstream file(path, std::ios::binary);
  if (!file) return std::nullopt;
  std::ostringstream bytes;
  bytes << file.rdbuf();
  return bytes.str();
}

bool FakeFileSystem::writeAtomically(const std::string& path, std::string_view bytes) {
  if (writeFails_ || !isPath(path)) return false;
  std::error_code error;
  fs::create_directories(fs::path(path).parent_path(), error);
  const std::string temporary = root_ + "/writing-" + std::to_string(++temporaryFiles_);
  std::ofstream(temporary, std::ios::binary) << bytes;
  fs::rename(temporary, path, error);
  if (!error) return true;
  std::error_code ignored;
  fs::remove(temporary, ignored);
  return false;
}

std::optional<std::string> FakeFileSystem::remove(const std::string& path) {
  std::error_code error;
  if (removeFails_) return "the test makes removals fail";
  if (!isPath(path) || fs::is_directory(path, error)) return "not a file";
  if (fs::remove(path, error)) return std::nullopt;
  return error ? error.message() : "no such file";
}

}  // namespace lumora::testing
