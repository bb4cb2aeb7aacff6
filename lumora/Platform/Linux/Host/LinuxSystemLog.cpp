// The one place where lines are held back, and the way of the others: to the host's function, to standard
// error (StandardErrorLog), to syslog or the journal (LogSockets). It is called under the library's locks and
// to the very end of the process, so it takes no lock itself.
#include "lumora/Platform/Linux/Host/LinuxSystemLog.h"

#include <cstdlib>
#include <string>
#include <utility>

#include "lumora/Platform/Linux/Host/LocalTime.h"
#include "lumora/Platform/Linux/Host/LogSockets.h"
#include "lumora/Platform/Linux/Tasks/ProcessEnd.h"

namespace lumora {
namespace {

/// For a reader of standard error that is merely slow. Nobody sees a host falter for it.
constexpr int kPatienceInMilliseconds = 100;

/// A program that runs with more rights than its user shows him no more for it.
bool environmentAsksForTrace() {
  const char* const detail = ::secure_getenv("LUMORA_LOG");
  return detail && std::string_view(detail) == "trace";
}

}  // namespace

LinuxSystemLog::LinuxSystemLog(LogSink sink, LogDetail detail)
    : hasTrace_(detail == LogDetail::trace || environmentAsksForTrace()) {
  if (auto* const function = std::get_if<std::function<void(std::string_view)>>(&sink)) {
    function_ = std::move(*function);
  } else {
    destination_ = std::get<LogDestination>(sink);
  }
  currentLocalTime();  // For the sake of forked children.
}

void LinuxSystemLog::write(std::string_view message) {
  const LogLineKind kind = kindOfLogLine(message);
  if (kind == LogLineKind::trace && !hasTrace_) return;
  if (function_ && !isHostGone_) {
    if (const ProcessEnd::HostCall call; call) return callFunction(message);
    // Between the two moments a host's line goes nowhere: its function is not called any more.
    if (!ProcessEnd::isOver()) return;
  }
  if (!deliver(message, kind)) {
    ++lost_;
  } else if (lost_ > 0) {
    tellOfLostLines();
  }
}

/// A function that throws has lost the line: who wrote it, the host too, knows nothing of logs.
void LinuxSystemLog::callFunction(std::string_view message) const noexcept try {
  function_(message);
} catch (...) {
}

bool LinuxSystemLog::deliver(std::string_view message, LogLineKind kind) const {
  LogDelivery delivery = LogDelivery::noReceiver;
  switch (destination_) {
    case LogDestination::syslog:
      delivery = sendToSyslog(kSyslogSocket, message, kind);
      break;
    case LogDestination::journal:
      delivery = sendToJournal(kJournalSocket, message, kind);
      break;
    case LogDestination::bareStandardError:
      standardError_.writeBare(message);
      return true;
    case LogDestination::standardError:
      break;
  }
  if (delivery == LogDelivery::noReceiver) return writeToStandardError(message, kind);
  return delivery == LogDelivery::taken;
}

bool LinuxSystemLog::writeToStandardError(std::string_view message, LogLineKind kind) const {
  // Waited for once, not with every line.
  return standardError_.write(message, kind, lost_ == 0 ? kPatienceInMilliseconds : 0);
}

void LinuxSystemLog::tellOfLostLines() {
  if (const unsigned count = lost_.exchange(0)) {
    deliver("LumoraSDK-Log lines lost before this one, nobody took them: " + std::to_string(count),
            LogLineKind::developer);
  }
}

}  // namespace lumora
