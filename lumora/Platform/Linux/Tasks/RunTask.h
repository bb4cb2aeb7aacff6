#pragma once

#include "lumora/Platform/TaskQueues.h"

namespace lumora {

/// Runs a task; what it throws ends there.
void runTask(const Task& task) noexcept;

/// Hands the task to the queue and waits until it has run or was dropped.
void runTaskAndWait(TaskQueue& queue, const Task& task);

}  // namespace lumora
