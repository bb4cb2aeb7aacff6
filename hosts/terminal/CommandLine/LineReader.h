#pragma once

#include <cstddef>
#include <optional>
#include <string>

namespace lumora_host {

/// Cuts the bytes of a file descriptor into lines. A last line without a line feed counts.
class LineReader {
 public:
  /// The descriptor is only read, never closed.
  explicit LineReader(int descriptor) : descriptor_(descriptor) {}

  int descriptor() const { return descriptor_; }
  /// Reads what is there. Blocks when nothing is, so poll first. A failed read is the end of the input.
  void fill();
  /// The next line that has wholly arrived, without its line feed.
  std::optional<std::string> takeLine();
  /// Whether the input has ended. Lines may still be left to take.
  bool hasEnded() const { return hasEnded_; }

 private:
  int descriptor_;
  std::string buffer_;
  std::size_t lineStart_ = 0;
  std::size_t searched_ = 0;
  bool hasEnded_ = false;
};

}  // namespace lumora_host
