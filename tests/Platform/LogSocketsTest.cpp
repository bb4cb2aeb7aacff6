#include "lumora/Platform/Linux/Host/LogSockets.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>

#include <array>
#include <cstring>

#include "lumora/Platform/Linux/Files/FileDescriptor.h"
#include "tests/Support/TemporaryFolder.h"

namespace lumora::testing {
namespace {

using ::testing::HasSubstr;
using ::testing::MatchesRegex;

/// Listens as a system's log does.
class LogReceiver {
 public:
  LogReceiver() {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    path.copy(address.sun_path, sizeof address.sun_path - 1);
    ::bind(socket_.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address);
  }

  /// The next message, be it in the datagram or in a file that came with it.
  std::string next() {
    std::string text(1 << 16, ' ');
    alignas(cmsghdr) std::array<char, CMSG_SPACE(sizeof(int))> control{};
    iovec content{text.data(), text.size()};
    msghdr header{};
    header.msg_iov = &content;
    header.msg_iovlen = 1;
    header.msg_control = control.data();
    header.msg_controllen = control.size();
    const ssize_t length = ::recvmsg(socket_.get(), &header, MSG_DONTWAIT);
    if (const cmsghdr* rights = CMSG_FIRSTHDR(&header)) {
      int file = -1;
      std::memcpy(&file, CMSG_DATA(rights), sizeof file);
      return contentOf(FileDescriptor(file));
    }
    text.resize(length < 0 ? 0 : static_cast<std::size_t>(length));
    return text;
  }

  const TemporaryFolder folder;
  const std::string path = folder / "socket";

 private:
  static std::string contentOf(const FileDescriptor& file) {
    EXPECT_NE(::fcntl(file.get(), F_GET_SEALS) & F_SEAL_WRITE, 0);
    struct stat status {};
    ::fstat(file.get(), &status);
    std::string text(static_cast<std::size_t>(status.st_size), ' ');
    EXPECT_EQ(::pread(file.get(), text.data(), text.size(), 0), status.st_size);
    return text;
  }

  const FileDescriptor socket_{::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0)};
};

TEST(LogSocketsTest, TheJournalReceivesFields) {
  LogReceiver journal;
  ASSERT_EQ(sendToJournal(journal.path, "LumoraSDK-one\nMESSAGE=two", LogLineKind::developer),
            LogDelivery::taken);
  const std::string length("\x19\0\0\0\0\0\0\0", 8);
  const std::string entry = journal.next();
  EXPECT_TRUE(entry.starts_with("MESSAGE\n" + length + "LumoraSDK-one\nMESSAGE=two\nPRIORITY\n")) << entry;
  sendToJournal(journal.path, "LumoraFramework--[Lumora sync:] [Line 407] text", LogLineKind::trace);
  const std::string received = journal.next();
  for (const char* value : {"7\n", "lumora_platform_tests\n", "trace\n", "-[Lumora sync:]\n", "407\n"}) {
    EXPECT_THAT(received, HasSubstr(value));
  }
}

TEST(LogSocketsTest, LongMessagesTravelAsAFileOrAreCut) {
  LogReceiver log;
  const std::string message = "LumoraSDK-" + std::string(3 << 20, 'x');
  ASSERT_EQ(sendToJournal(log.path, message, LogLineKind::developer), LogDelivery::taken);
  EXPECT_THAT(log.next(), HasSubstr(message));
  ASSERT_EQ(sendToSyslog(log.path, "LumoraSDK-" + std::string(9000, 'x'), LogLineKind::developer),
            LogDelivery::taken);
  EXPECT_EQ(log.next().size(), 8192U);
}

TEST(LogSocketsTest, SyslogReceivesItsOldForm) {
  LogReceiver log;
  ASSERT_EQ(sendToSyslog(log.path, "LumoraSDK-hello", LogLineKind::developer), LogDelivery::taken);
  EXPECT_THAT(
      log.next(),
      MatchesRegex(
          "<14>[A-Z][a-z][a-z] [ 0-9][0-9] [0-9:]+ lumora_platform_tests\\[[0-9]+\\]: LumoraSDK-hello"));
}

TEST(LogSocketsTest, AFullReceiverLosesTheLineAndAMissingOneIsTold) {
  LogReceiver log;
  LogDelivery delivery = LogDelivery::taken;
  for (int i = 0; i < 10000 && delivery == LogDelivery::taken; ++i) {
    delivery = sendToSyslog(log.path, "LumoraSDK-again", LogLineKind::developer);
  }
  EXPECT_EQ(delivery, LogDelivery::lost);
  EXPECT_EQ(sendToJournal(log.path, "LumoraSDK-again", LogLineKind::developer), LogDelivery::lost);
  EXPECT_EQ(sendToJournal(log.folder / "none", "LumoraSDK-again", LogLineKind::developer),
            LogDelivery::noReceiver);
}

}  // namespace
}  // namespace lumora::testing
