#pragma once

#include <string>
#include <utility>

#include "lumora/Platform/Linux/Tasks/LinuxSerialQueue.h"

namespace lumora {

/// A serial queue for tasks that call the host's code. The end of the process waits for the one that runs, so
/// that it does not outlive what it uses; the others are dropped.
class LinuxHostQueue : public LinuxSerialQueue {
 public:
  explicit LinuxHostQueue(std::string label) : LinuxSerialQueue(std::move(label), nullptr) {}

  void async(Task task) override;
};

}  // namespace lumora
