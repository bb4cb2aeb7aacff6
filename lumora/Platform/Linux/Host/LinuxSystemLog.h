#pragma once

#include <atomic>
#include <functional>

#include "lumora/Platform/Linux/Host/StandardErrorLog.h"
#include "lumora/Platform/Linux/LogOptions.h"
#include "lumora/Platform/SystemLog.h"

namespace lumora {

/// Lets through what the host's developer should see, or every line, and hands it to the host's function or
/// to a log of the system. A line that cannot be written is lost and counted; it never ends the process, and
/// never holds it up for long. The host's function hears nothing once the process is ending; what is left to
/// tell when its wait for the tasks is over goes to standard error.
///
/// It takes no lock, so a forked child may go on using it.
class LinuxSystemLog : public SystemLog {
 public:
  explicit LinuxSystemLog(LogSink sink = {}, LogDetail detail = LogDetail::forDevelopers);
  void write(std::string_view message) override;
  /// From now on the host's function is not called; its lines go to standard error.
  void forgetHost() noexcept { isHostGone_ = true; }

 private:
  void callFunction(std::string_view message) const noexcept;
  bool deliver(std::string_view message, LogLineKind kind) const;
  bool writeToStandardError(std::string_view message, LogLineKind kind) const;
  void tellOfLostLines();

  /// One of the two: the function, if the host has one.
  std::function<void(std::string_view message)> function_;
  LogDestination destination_ = LogDestination::standardError;
  std::atomic<bool> isHostGone_ = false;
  const bool hasTrace_;
  const StandardErrorLog standardError_;
  /// Since the last line that was taken.
  std::atomic<unsigned> lost_ = 0;
};

}  // namespace lumora
