#pragma once

#include <functional>

#include "lumora/Platform/SystemLog.h"

namespace lumora {

/// Hands messages to the host's sink, or writes them to standard error. A message that cannot be written is
/// lost; it never ends the process. The sink hears nothing once the process is ending; what is left to tell
/// when its wait for the tasks is over goes to standard error.
class LinuxSystemLog : public SystemLog {
 public:
  /// Called on any thread, also while the library holds its locks: it must not call back into the library.
  using Sink = std::function<void(std::string_view message)>;

  explicit LinuxSystemLog(Sink sink);
  void write(std::string_view message) override;

 private:
  const Sink sink_;
  /// Where standard error is closed, its number may go to any other file that the process opens.
  const bool isStandardErrorOpen_;
};

}  // namespace lumora
