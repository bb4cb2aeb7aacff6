// Writes a file for its owner alone that a reader sees whole or not at all: keys, and the file that says that
// the service listens.
#include "service/PrivateFile.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
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

void writePrivateFile(const std::string& path, std::string_view content) {
  const std::string temporary = path + ".new";
  ::unlink(temporary.c_str());
  const int descriptor = ::open(temporary.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
  const bool isWritten = descriptor >= 0 && writeAll(descriptor, content);
  if (descriptor >= 0) ::close(descriptor);
  if (!isWritten || std::rename(temporary.c_str(), path.c_str()) != 0) {
    throw std::runtime_error("The file " + path + " cannot be written: " + std::strerror(errno) + '.');
  }
}

}  // namespace lumora::service
