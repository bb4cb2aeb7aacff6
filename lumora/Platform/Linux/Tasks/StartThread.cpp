// How each thread of the library begins, but those that DesktopURLOpener waits for programs on.
#include "lumora/Platform/Linux/Tasks/StartThread.h"

#include <pthread.h>

#include <utility>

#include "lumora/Platform/Linux/Tasks/SignalBlocker.h"

namespace lumora {

std::thread startThread(const std::string& name, Task work) {
  constexpr std::size_t longestName = 15;
  const std::string shortName = name.substr(0, longestName);
  const SignalBlocker blocker;
  std::thread thread(std::move(work));
  ::pthread_setname_np(thread.native_handle(), shortName.c_str());
  return thread;
}

}  // namespace lumora
