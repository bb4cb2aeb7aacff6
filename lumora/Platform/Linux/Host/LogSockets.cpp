// The wire formats of syslog and of the systemd journal, each a datagram per line.
#include "lumora/Platform/Linux/Host/LogSockets.h"

#include <errno.h>
#include <fcntl.h>
#include <fmt/format.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/syslog.h>
#include <sys/un.h>
#include <unistd.h>

#include <array>
#include <cstring>

#include "lumora/Platform/Linux/Files/FileDescriptor.h"
#include "lumora/Platform/Linux/Host/LocalTime.h"

namespace lumora {
namespace {

/// What the usual receivers of syslog messages take.
constexpr std::size_t kSyslogLimit = 8192;

int priorityOf(LogLineKind kind) {
  return kind == LogLineKind::trace ? LOG_DEBUG : LOG_INFO;
}

/// An unconnected socket and the address that it sends to.
class Datagram {
 public:
  explicit Datagram(const std::string& path)
      : socket_(::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0)) {
    address_.sun_family = AF_UNIX;
    path.copy(address_.sun_path, sizeof address_.sun_path - 1);
    header_.msg_name = &address_;
    header_.msg_namelen = sizeof address_;
  }

  /// Zero, or the error's number.
  int send(std::string_view bytes) {
    iovec content{const_cast<char*>(bytes.data()), bytes.size()};
    header_.msg_iov = &content;
    header_.msg_iovlen = 1;
    const int error = sendHeader();
    header_.msg_iov = nullptr;
    header_.msg_iovlen = 0;
    return error;
  }

  /// Sends a file in the place of bytes.
  int sendFile(const FileDescriptor& file) {
    alignas(cmsghdr) std::array<char, CMSG_SPACE(sizeof(int))> control{};
    header_.msg_control = control.data();
    header_.msg_controllen = control.size();
    cmsghdr* const rights = CMSG_FIRSTHDR(&header_);
    rights->cmsg_level = SOL_SOCKET;
    rights->cmsg_type = SCM_RIGHTS;
    rights->cmsg_len = CMSG_LEN(sizeof(int));
    const int descriptor = file.get();
    std::memcpy(CMSG_DATA(rights), &descriptor, sizeof descriptor);
    const int error = sendHeader();
    header_.msg_control = nullptr;
    header_.msg_controllen = 0;
    return error;
  }

 private:
  int sendHeader() {
    while (::sendmsg(socket_.get(), &header_, MSG_NOSIGNAL) < 0) {
      if (errno != EINTR) return errno;
    }
    return 0;
  }

  const FileDescriptor socket_;
  sockaddr_un address_{};
  msghdr header_{};
};

LogDelivery deliveryOf(int error) {
  switch (error) {
    case 0:
      return LogDelivery::taken;
    case EAGAIN:  // Its queue is full.
    case ENOBUFS:
    case ENOMEM:
    case EMSGSIZE:
      return LogDelivery::lost;
    default:
      return LogDelivery::noReceiver;
  }
}

/// The journal takes what is too long for a datagram as a sealed file in memory.
int sendAsFile(Datagram& journal, std::string_view entry) {
  const FileDescriptor file(::memfd_create("lumora-log", MFD_CLOEXEC | MFD_ALLOW_SEALING));
  if (!file.isOpen()) return errno;
  while (!entry.empty()) {
    const ssize_t written = ::write(file.get(), entry.data(), entry.size());
    if (written <= 0) return ENOMEM;
    entry.remove_prefix(static_cast<std::size_t>(written));
  }
  if (::fcntl(file.get(), F_ADD_SEALS, F_SEAL_SHRINK | F_SEAL_GROW | F_SEAL_WRITE | F_SEAL_SEAL) < 0) {
    return errno;
  }
  return journal.sendFile(file);
}

void addField(std::string& entry, std::string_view name, std::string_view value) {
  // With its length in front a value may hold line feeds.
  entry.append(name).push_back('\n');
  for (unsigned shift = 0; shift < 64; shift += 8) {
    entry.push_back(static_cast<char>((std::uint64_t(value.size()) >> shift) & 0xFFU));
  }
  entry.append(value).push_back('\n');
}

std::string journalEntry(std::string_view message, LogLineKind kind) {
  std::string entry;
  addField(entry, "MESSAGE", message);
  addField(entry, "PRIORITY", fmt::format("{}", priorityOf(kind)));
  addField(entry, "SYSLOG_IDENTIFIER", program_invocation_short_name);
  addField(entry, "LUMORA_LINE", kind == LogLineKind::trace ? "trace" : "developer");
  if (const auto origin = originOfLogLine(message)) {
    addField(entry, "CODE_FUNC", origin->operation);
    addField(entry, "CODE_LINE", origin->line);
  }
  return entry;
}

/// Cut between two characters.
std::string_view shortened(std::string_view text, std::size_t limit) {
  if (text.size() <= limit) return text;
  while (limit > 0 && (static_cast<unsigned char>(text[limit]) & 0xC0U) == 0x80U) --limit;
  return text.substr(0, limit);
}

}  // namespace

LogDelivery sendToSyslog(const std::string& socketPath, std::string_view message, LogLineKind kind) {
  // In English whatever the locale.
  constexpr std::array<const char*, 12> kMonths = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                                   "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
  const LocalTime now = currentLocalTime();
  const std::string head = fmt::format("<{}>{} {:2} {:02}:{:02}:{:02} {}[{}]: ", LOG_USER | priorityOf(kind),
                                       kMonths.at(now.month - 1), now.day, now.hour, now.minute, now.second,
                                       program_invocation_short_name, ::getpid());
  return deliveryOf(
      Datagram(socketPath).send(head + std::string(shortened(message, kSyslogLimit - head.size()))));
}

LogDelivery sendToJournal(const std::string& socketPath, std::string_view message, LogLineKind kind) {
  const std::string entry = journalEntry(message, kind);
  Datagram journal(socketPath);
  int error = journal.send(entry);
  if (error == EMSGSIZE || error == ENOBUFS) error = sendAsFile(journal, entry);
  return deliveryOf(error);
}

}  // namespace lumora
