// Asks ahead of each task whether the host's code may still be called.
#include "lumora/Platform/Linux/Tasks/LinuxHostQueue.h"

#include <utility>

#include "lumora/Platform/Linux/Tasks/ProcessEnd.h"

namespace lumora {

void LinuxHostQueue::async(Task task) {
  if (!task) return;
  LinuxSerialQueue::async([task = std::move(task)] {
    if (const ProcessEnd::HostCall call; call) task();
  });
}

}  // namespace lumora
