#pragma once

#include <string>
#include <thread>

#include "lumora/Platform/TaskQueues.h"

namespace lumora {

/// Starts a thread of the library's own. Signals are the host's: its handlers do not run on it. Of the name
/// the system keeps the first 15 bytes. Throws `std::system_error` when the system has no thread to give.
std::thread startThread(const std::string& name, Task work);

}  // namespace lumora
