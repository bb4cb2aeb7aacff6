#pragma once

#include <string>
#include <string_view>

#include "lumora/Platform/Linux/Host/LogLine.h"

namespace lumora {

/// What became of a line that was sent.
enum class LogDelivery {
  taken,
  /// The receiver has no room now.
  lost,
  /// There is no such log on this machine.
  noReceiver,
};

/// Where the two logs listen.
inline constexpr const char* kSyslogSocket = "/dev/log";
inline constexpr const char* kJournalSocket = "/run/systemd/journal/socket";

/// Hand one line to the system's logs. They never wait and take no lock; a socket is made for each line, so
/// that there is nothing to connect anew, to share with a forked child, or to be closed by a host that closes
/// all.
LogDelivery sendToSyslog(const std::string& socketPath, std::string_view message, LogLineKind kind);
LogDelivery sendToJournal(const std::string& socketPath, std::string_view message, LogLineKind kind);

}  // namespace lumora
