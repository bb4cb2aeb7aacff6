// How a process may end while the library is at work.
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <thread>

#include "endurance/host/Lives.h"
#include "lumora/Facade/Lumora.h"
#include "lumora/Platform/Linux/LinuxTaskQueues.h"

namespace endurance {

using lumora::Lumora;

bool settle(lumora::LinuxPlatform& platform, double seconds) {
  const auto end = std::chrono::steady_clock::now() + std::chrono::duration<double>(seconds);
  pollfd work{platform.mainQueue().descriptor(), POLLIN, 0};
  for (; !platform.queues().areSerialQueuesIdle(); platform.mainQueue().runPending()) {
    if (std::chrono::steady_clock::now() > end) return false;
    ::poll(&work, 1, 5);
  }
  platform.mainQueue().runPending();
  return true;
}

/// When this process began to end, by the system's steady clock: a slow one may have to give up after its
/// second.
void tellEnd() {
  const auto now = std::chrono::steady_clock::now().time_since_epoch();
  std::printf("%.6f\n", std::chrono::duration<double>(now).count());
  std::fflush(stdout);
}

void End::report(const std::string& name, int count) const {
  for (int number = 0; number < count; ++number)
    Lumora::sharedInstance().reportAction(name + "-" + std::to_string(number), nullptr);
}

int End::by(const std::string& how) {
  Lumora::sharedInstance().initializeWithTarrowID("acme", "s3cret");
  if (how.starts_with("fork-")) return forkAnd(how.substr(5));
  report(name_, count_);
  Lumora::sharedInstance().reportAll();
  tellEnd();
  if (how == "exit") std::exit(0);
  if (how == "exit-thread") std::thread([] { std::exit(0); }).join();
  if (how == "exit-task") {
    // Never destroyed: a queue takes with it what has not begun.
    auto* const queue = platform_.queues().makeSerialQueue("end").release();
    queue->async([] { std::exit(0); });
  }
  if (how == "quick_exit") std::quick_exit(0);
  if (how == "_exit") ::_exit(0);
  for (const bool waits = how == "wait" || how == "exit-task"; waits; ::pause()) continue;
  return 0;
}

/// Forks in the middle of everything. What the child calls is nothing, how it ends changes nothing.
int End::forkAnd(const std::string& how) {
  report(name_, count_ / 2);
  std::fflush(nullptr);
  const pid_t child = ::fork();
  if (child == 0) {
    Lumora::sharedInstance().initializeWithTarrowID("acme", "s3cret");
    report(name_ + "-child", 5);
    Lumora::sharedInstance().reportAll();
    static_cast<void>(Lumora::sharedInstance().getDeviceId());
    if (how == "_exit") ::_exit(0);
    if (how == "exit") std::exit(0);
    return 0;
  }
  for (int number = count_ / 2; number < count_; ++number)
    Lumora::sharedInstance().reportAction(name_ + "-" + std::to_string(number), nullptr);
  int status = 0;
  ::waitpid(child, &status, 0);
  Lumora::sharedInstance().reportAll();
  settle(platform_, 300);
  tellEnd();
  if (status != 0) std::printf("the child ended with status %d\n", status);
  return 0;
}

}  // namespace endurance
