#pragma once

#include <string>

#include "lumora/Platform/Linux/LinuxPlatform.h"

namespace endurance {

/// Lets the library finish what it has begun, with the main queue run as a host's loop does; false when it
/// takes longer than that.
bool settle(lumora::LinuxPlatform& platform, double seconds);

/// A life that reports actions and ends with everything under way.
class End {
 public:
  End(lumora::LinuxPlatform& platform, std::string name, int count)
      : platform_(platform), name_(std::move(name)), count_(count) {}

  /// One of return, exit, exit-thread, exit-task, quick_exit, _exit, wait (for a signal), fork-exit,
  /// fork-return, fork-_exit. Gives the exit status, if it comes back at all. Prints the steady clock's time
  /// just before. A forked child reports actions too, as NAME-child-0 and so on.
  int by(const std::string& how);

 private:
  void report(const std::string& name, int count) const;
  int forkAnd(const std::string& how);

  lumora::LinuxPlatform& platform_;
  const std::string name_;
  const int count_;
};

/// Initialises, reports, shows a message, uploads, with the allocation of that number failing, counted from
/// the first call of the library. Prints how many there were.
int liveWithFailingAllocation(lumora::LinuxPlatform& platform, long number, const std::string& name);

}  // namespace endurance
