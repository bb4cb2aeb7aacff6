#pragma once

#include <string_view>

#include "lumora/Platform/Linux/Host/LogLine.h"

namespace lumora {

/// Log lines on standard error. It takes no lock, so a forked child may go on using it.
class StandardErrorLog {
 public:
  /// Whether standard error is there is looked at once: where it is closed, its number may go to any other
  /// file that the process opens.
  StandardErrorLog();

  /// The line as it is, as soon as the reader takes it.
  void writeBare(std::string_view message) const;
  /// The line as people like it on a terminal. False when it was lost: the reader took nothing, and for the
  /// given time neither.
  bool write(std::string_view message, LogLineKind kind, int milliseconds) const;

 private:
  const bool isOpen_;
  const bool hasColours_;
};

}  // namespace lumora
