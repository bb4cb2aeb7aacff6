#include "lumora/Platform/NetworkChanges.h"

#include <gtest/gtest.h>
#include <net/if.h>
#include <sched.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstring>
#include <future>

#include "lumora/Platform/Linux/Files/FileDescriptor.h"
#include "lumora/Platform/Linux/Host/NetlinkChanges.h"
#include "tests/Support/ChildProcess.h"

namespace lumora::testing {
namespace {

constexpr int heard = 7, notAllowed = 8;

bool bringUpLoopback() {
  const FileDescriptor socket(::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0));
  ifreq request{};
  std::strcpy(request.ifr_name, "lo");
  request.ifr_flags = IFF_UP;
  return ::ioctl(socket.get(), SIOCSIFFLAGS, &request) == 0;
}

/// In a network of its own, whose loopback comes up while it is watched.
[[noreturn]] void watchOwnNetwork() {
  if (::unshare(CLONE_NEWNET) != 0 && ::unshare(CLONE_NEWUSER | CLONE_NEWNET) != 0) ::_exit(notAllowed);
  std::promise<void> called, isWatched;
  std::unique_ptr<NetworkChanges::Watch> watch;
  bool isFirst = true;
  watch = NetlinkChanges().watch([&] {
    if (!std::exchange(isFirst, false)) return;
    isWatched.get_future().wait();
    watch.reset();  // From its own callback too.
    called.set_value();
  });
  if (!watch) ::_exit(notAllowed);
  isWatched.set_value();  // From here on the watch is the callback's.
  if (!bringUpLoopback()) ::_exit(notAllowed);
  called.get_future().wait();
  ::_exit(heard);
}

TEST(NetworkChangesTest, HearsOfAnAddressThatIsAdded) {
  const pid_t child = ::fork();
  if (child == 0) watchOwnNetwork();
  int status = 0;
  ASSERT_EQ(::waitpid(child, &status, 0), child);
  ASSERT_TRUE(WIFEXITED(status));
  if (WEXITSTATUS(status) == notAllowed) GTEST_SKIP() << "no network of its own is allowed here";
  EXPECT_EQ(WEXITSTATUS(status), heard);
}

TEST(NetworkChangesTest, AWatchEndsWithoutNewsAndInAForkedChild) {
  auto watch = NetlinkChanges().watch([] {});
  ChildProcess child([&watch] {
    watch.reset();
    return true;
  });
  EXPECT_TRUE(child.succeeds());
  watch.reset();
  EXPECT_EQ(NetworkChanges::none().watch([] {}), nullptr);
}

}  // namespace
}  // namespace lumora::testing
