#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <unistd.h>

#include <array>

#include "lumora/Platform/Linux/Files/FileDescriptor.h"
#include "lumora/Platform/Linux/Host/LinuxSystemLog.h"
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
    const StandardErrorTo redirected(-1);
    LinuxSystemLog log(nullptr);
    EXPECT_EQ(openForAppending(folder / "database"), STDERR_FILENO);
    log.write("stray");
  }
  EXPECT_EQ(readFile(folder / "database"), "");
}

}  // namespace
}  // namespace lumora::testing
