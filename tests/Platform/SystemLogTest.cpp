#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <unistd.h>

#include <array>
#include <thread>
#include <vector>

#include "lumora/Platform/Linux/FileDescriptor.h"
#include "lumora/Platform/Linux/LinuxSystemLog.h"
#include "tests/Support/TemporaryFolder.h"
#include "tests/Support/TestFiles.h"

namespace lumora::testing {
namespace {

FileDescriptor openForAppending(const std::string& path) {
  return FileDescriptor(::open(path.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600));
}

/// Each test replaces its process's standard error for good.
TEST(LinuxSystemLogTest, WritesWholeLinesToStandardError) {
  const TemporaryFolder folder;
  const FileDescriptor saved(::dup(STDERR_FILENO));
  ::dup2(openForAppending(folder / "log").get(), STDERR_FILENO);
  const std::string line(300, 'x');
  {
    LinuxSystemLog log(nullptr);
    std::vector<std::jthread> threads;
    for (int i = 0; i < 4; ++i) {
      threads.emplace_back([&] {
        for (int j = 0; j < 200; ++j) log.write(line);
      });
    }
  }
  ::dup2(saved.get(), STDERR_FILENO);
  std::string expected;
  for (int i = 0; i < 800; ++i) expected += line + "\n";
  EXPECT_EQ(readFile(folder / "log"), expected);
}

TEST(LinuxSystemLogTest, AFullOrBrokenStandardErrorLosesTheMessageAndRaisesNoSignal) {
  std::array<int, 2> ends{};
  ASSERT_EQ(::pipe(ends.data()), 0);
  ::close(ends[0]);
  const FileDescriptor saved(::dup(STDERR_FILENO));
  for (const int target : {openForAppending("/dev/full").release(), ends[1]}) {
    ::dup2(target, STDERR_FILENO);
    LinuxSystemLog(nullptr).write("lost");
  }
  ::dup2(saved.get(), STDERR_FILENO);
  sigset_t signals;
  ::sigpending(&signals);
  EXPECT_EQ(sigismember(&signals, SIGPIPE), 0);
  ::pthread_sigmask(SIG_BLOCK, nullptr, &signals);
  EXPECT_EQ(sigismember(&signals, SIGPIPE), 0);
}

TEST(LinuxSystemLogTest, AClosedStandardErrorSparesTheFileThatTakesItsNumber) {
  const TemporaryFolder folder;
  const FileDescriptor saved(::dup(STDERR_FILENO));
  ::close(STDERR_FILENO);
  LinuxSystemLog log(nullptr);
  const int database = openForAppending(folder / "database").release();
  log.write("stray");
  ::dup2(saved.get(), STDERR_FILENO);
  EXPECT_EQ(database, STDERR_FILENO);
  EXPECT_EQ(readFile(folder / "database"), "");
}

}  // namespace
}  // namespace lumora::testing
