// Reads files, and writes those that are for their owner alone and that a reader sees whole or not at all:
// keys, accounts, and the file that says that the service listens.
#include "service/Files.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <iterator>
#include <stdexcept>

namespace lumora::service {
namespace {

bool writeAll(int descriptor, std::string_view content) {
  while (!content.empty()) {
    const ssize_t count = ::write(descriptor, content.data(), content.size());
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) return false;
    content.remove_prefix(static_cast<std::size_t>(count));
  }
  return true;
}

}  // namespace

bool isPlainFileName(std::string_view name) {
  constexpr std::string_view separators("/\0", 2);
  return !name.empty() && name != "." && name != ".." &&
         name.find_first_of(separators) == std::string_view::npos;
}

std::optional<std::string> readFile(const std::string& path) {
  std::ifstream stream(path, std::ios::binary);
  if (!stream) return std::nullopt;
  return std::string(std::istreambuf_iterator<char>(stream), {});
}

void writePrivateFile(const std::string& path, std::string_view content) {
  const std::string temporary = path + ".new";
  ::unlink(temporary.c_str());
  const int descriptor = ::open(temporary.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
  // Synced, so that not even a machine that loses power finds the new name with half of the content.
  const bool isWritten = descriptor >= 0 && writeAll(descriptor, content) && ::fsync(descriptor) == 0;
  int failure = isWritten ? 0 : errno;
  if (descriptor >= 0) ::close(descriptor);
  if (isWritten && std::rename(temporary.c_str(), path.c_str()) != 0) failure = errno;
  if (failure == 0) return;
  ::unlink(temporary.c_str());
  throw std::runtime_error("The file " + path + " cannot be written: " + std::strerror(failure) + '.');
}

}  // namespace lumora::service
