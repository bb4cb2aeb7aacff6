#include "lumora/Platform/SystemLog.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <unistd.h>

#include <array>
#include <thread>
#include <vector>

#include "lumora/Platform/Linux/FileDescriptor.h"
#include "lumora/Platform/Linux/LinuxSystemLog.h"
#include "lumora/Testing/FakeSystemLog.h"
#include "tests/Support/TemporaryFolder.h"
#include "tests/Support/TestFiles.h"

namespace lumora::testing {
namespace {

struct SinkLog : LinuxSystemLog {
  SinkLog() : LinuxSystemLog([this](std::string_view message) { collected_.write(message); }) {}
  std::vector<std::string> messages() const { return collected_.messages(); }

 private:
  FakeSystemLog collected_;
};

template <typename Implementation>
class SystemLogTest : public ::testing::Test {
 protected:
  Implementation log;
};

using Logs = ::testing::Types<FakeSystemLog, SinkLog>;
TYPED_TEST_SUITE(SystemLogTest, Logs);

TYPED_TEST(SystemLogTest, PassesMessagesOnAsTheyAre) {
  this->log.write("first");
  this->log.write("");
  this->log.write("two\nlines %@ %s");
  EXPECT_EQ(this->log.messages(), (std::vector<std::string>{"first", "", "two\nlines %@ %s"}));
}

/// Puts another file in standard error's place while it lives.
class StandardErrorTo {
 public:
  explicit StandardErrorTo(const FileDescriptor& file) : saved_(::fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 10)) {
    if (file.isOpen()) {
      ::dup2(file.get(), STDERR_FILENO);
    } else {
      ::close(STDERR_FILENO);
    }
  }
  ~StandardErrorTo() { ::dup2(saved_.get(), STDERR_FILENO); }
  StandardErrorTo(const StandardErrorTo&) = delete;
  StandardErrorTo& operator=(const StandardErrorTo&) = delete;

 private:
  FileDescriptor saved_;
};

FileDescriptor openForAppending(const std::string& path) {
  return FileDescriptor(::open(path.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600));
}

TEST(LinuxSystemLogTest, WritesWholeLinesToStandardError) {
  const TemporaryFolder folder;
  constexpr int threadCount = 4;
  constexpr int linesEach = 200;
  const std::string line(300, 'x');
  {
    const StandardErrorTo redirected(openForAppending(folder / "log"));
    LinuxSystemLog log(nullptr);
    std::vector<std::jthread> threads;
    for (int i = 0; i < threadCount; ++i) {
      threads.emplace_back([&] {
        for (int j = 0; j < linesEach; ++j) log.write(line);
      });
    }
  }
  std::string expected;
  for (int i = 0; i < threadCount * linesEach; ++i) expected += line + "\n";
  EXPECT_EQ(readFile(folder / "log"), expected);
}

TEST(LinuxSystemLogTest, AFullStandardErrorLosesTheMessage) {
  const StandardErrorTo redirected(openForAppending("/dev/full"));
  LinuxSystemLog(nullptr).write("lost");
}

TEST(LinuxSystemLogTest, ABrokenPipeLosesTheMessageAndRaisesNoSignal) {
  std::array<int, 2> ends{};
  ASSERT_EQ(::pipe(ends.data()), 0);
  ::close(ends[0]);
  {
    const StandardErrorTo redirected{FileDescriptor(ends[1])};
    LinuxSystemLog(nullptr).write("lost");
  }
  sigset_t signals;
  ::sigpending(&signals);
  EXPECT_EQ(sigismember(&signals, SIGPIPE), 0);
  ::pthread_sigmask(SIG_BLOCK, nullptr, &signals);
  EXPECT_EQ(sigismember(&signals, SIGPIPE), 0);
}

TEST(LinuxSystemLogTest, AClosedStandardErrorSparesTheFileThatTakesItsNumber) {
  const TemporaryFolder folder;
  {
    const StandardErrorTo closed{FileDescriptor()};
    LinuxSystemLog log(nullptr);
    const FileDescriptor database = openForAppending(folder / "database");
    log.write("stray");
    EXPECT_EQ(database.get(), STDERR_FILENO);
  }
  EXPECT_EQ(readFile(folder / "database"), "");
}

}  // namespace
}  // namespace lumora::testing
