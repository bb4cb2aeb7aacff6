#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <unistd.h>

#include <array>
#include <cstdlib>
#include <vector>

#include "lumora/Platform/Linux/Files/FileDescriptor.h"
#include "lumora/Platform/Linux/Host/LinuxSystemLog.h"
#include "tests/Support/ChildProcess.h"
#include "tests/Support/TemporaryFolder.h"
#include "tests/Support/TestFiles.h"

namespace lumora::testing {
namespace {

int openForAppending(const std::string& path) {
  return ::open(path.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600);
}

/// Puts another file in standard error's place while it lives.
class StandardErrorTo {
 public:
  /// Takes the file over; without one, standard error is closed.
  explicit StandardErrorTo(int file) {
    ::close(STDERR_FILENO);
    ::dup2(FileDescriptor(file).get(), STDERR_FILENO);
  }
  ~StandardErrorTo() { ::dup2(saved_.get(), STDERR_FILENO); }

 private:
  const FileDescriptor saved_{::fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 10)};
};

TEST(LinuxSystemLogTest, AFullOrBrokenStandardErrorLosesTheMessageAndRaisesNoSignal) {
  std::array<int, 2> ends{};
  ASSERT_EQ(::pipe(ends.data()), 0);
  ::close(ends[0]);
  for (const int target : {openForAppending("/dev/full"), ends[1]}) {
    const StandardErrorTo redirected(target);
    LinuxSystemLog().write("LumoraSDK-lost");
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
    const StandardErrorTo redirected(-1);
    LinuxSystemLog log;
    EXPECT_EQ(openForAppending(folder / "database"), STDERR_FILENO);
    log.write("LumoraSDK-stray");
  }
  EXPECT_EQ(readFile(folder / "database"), "");
}

TEST(LinuxSystemLogTest, AReaderWhoTakesNothingHoldsNobodyUpAndLearnsHowMuchHeMissed) {
  std::array<int, 2> ends{};
  ASSERT_EQ(::pipe2(ends.data(), O_CLOEXEC), 0);
  const FileDescriptor reader(ends[0]);
  const StandardErrorTo redirected(ends[1]);
  LinuxSystemLog log;
  // Twice what a pipe holds.
  const std::string line = "LumoraSDK-" + std::string(1013, 'x');
  for (int i = 0; i < 128; ++i) log.write(line);
  ::fcntl(reader.get(), F_SETFL, O_NONBLOCK);
  std::string taken(1 << 20, ' ');
  const ssize_t held = ::read(reader.get(), taken.data(), taken.size());
  ASSERT_GT(held, 32 * 1024);
  log.write("LumoraSDK-again");
  taken.resize(static_cast<std::size_t>(::read(reader.get(), taken.data(), taken.size())));
  EXPECT_EQ(taken, "LumoraSDK-again\nLumoraSDK-Log lines lost before this one, nobody took them: " +
                       std::to_string(128 - held / 1024) + "\n");
}

/// What the log hands to the host's function.
std::vector<std::string> linesFor(LogDetail detail) {
  std::vector<std::string> lines;
  LinuxSystemLog log([&](std::string_view line) { lines.emplace_back(line); }, detail);
  log.write("LumoraSDK-for developers");
  log.write("LumoraSDK-Current UUID is : 7 ");
  log.write("LumoraFramework--[Lumora x] [Line 1] traced");
  return lines;
}

TEST(LinuxSystemLogTest, ShowsValuesOnlyInATraceWhichTheEnvironmentCanAskFor) {
  EXPECT_EQ(linesFor(LogDetail::forDevelopers), std::vector<std::string>{"LumoraSDK-for developers"});
  EXPECT_EQ(linesFor(LogDetail::trace).size(), 3U);
  ::setenv("LUMORA_LOG", "trace", 1);
  EXPECT_EQ(linesFor(LogDetail::forDevelopers).size(), 3U);
  ::setenv("LUMORA_LOG", "1", 1);
  EXPECT_EQ(linesFor(LogDetail::forDevelopers).size(), 1U);
}

/// What a forked child has written on a terminal.
std::string onATerminal(const char* noColor) {
  const FileDescriptor terminal(::posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC));
  ::grantpt(terminal.get());
  ::unlockpt(terminal.get());
  ::setenv("NO_COLOR", noColor, 1);
  ::setenv("TERM", "xterm", 1);
  const StandardErrorTo redirected(::open(::ptsname(terminal.get()), O_RDWR | O_NOCTTY | O_CLOEXEC));
  LinuxSystemLog log;
  ChildProcess child([&] {
    log.write("LumoraSDK-\x1b[2Jhello");
    return true;
  });
  EXPECT_TRUE(child.succeeds());
  std::string text(200, ' ');
  text.resize(static_cast<std::size_t>(::read(terminal.get(), text.data(), text.size())));
  for (char& c : text) {
    if (c >= '0' && c <= '9') c = '0';
  }
  return text;
}

TEST(LinuxSystemLogTest, ATerminalShowsTimeAndColoursAndIsNotSteered) {
  EXPECT_EQ(onATerminal(""), "\x1b[0m00:00:00\x1b[0m LumoraSDK-?[0Jhello\r\n");
  EXPECT_EQ(onATerminal("1"), "00:00:00 LumoraSDK-?[0Jhello\r\n");
}

}  // namespace
}  // namespace lumora::testing
