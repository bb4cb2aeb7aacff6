// Bytes from a descriptor, cut into lines. It never waits by itself: HostLoop knows when there is something
// to read.
#include "hosts/terminal/CommandLine/LineReader.h"

#include <unistd.h>

#include <array>
#include <cerrno>

namespace lumora_host {

void LineReader::fill() {
  std::array<char, 65536> chunk;
  const ssize_t count = ::read(descriptor_, chunk.data(), chunk.size());
  if (count > 0) {
    buffer_.erase(0, lineStart_);
    searched_ -= lineStart_;
    lineStart_ = 0;
    buffer_.append(chunk.data(), static_cast<std::size_t>(count));
  } else if (count == 0 || (errno != EINTR && errno != EAGAIN)) {
    hasEnded_ = true;
  }
}

std::optional<std::string> LineReader::takeLine() {
  // Each byte is searched once, so that a long line does not cost its length with every chunk.
  const std::size_t end = buffer_.find('\n', searched_);
  if (end != std::string::npos) {
    std::string line = buffer_.substr(lineStart_, end - lineStart_);
    lineStart_ = searched_ = end + 1;
    return line;
  }
  searched_ = buffer_.size();
  if (!hasEnded_ || lineStart_ == buffer_.size()) return std::nullopt;
  std::string line = buffer_.substr(lineStart_);
  lineStart_ = buffer_.size();
  return line;
}

}  // namespace lumora_host
