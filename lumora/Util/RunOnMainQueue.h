#pragma once

#include "lumora/Platform/Export.h"
#include "lumora/Platform/TaskQueues.h"

namespace lumora {

/// Runs a callback on the main thread and returns when it has run: at once when the caller is the main
/// thread, else by handing it to the main queue and waiting. Callable from any thread, provided the host runs
/// its main queue. What the callback throws is dropped.
LUMORA_EXPORT void runOnMainQueueWithoutDeadlocking(const Task& callback);

}  // namespace lumora
