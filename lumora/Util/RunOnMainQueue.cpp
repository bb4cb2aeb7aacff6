#include "lumora/Util/RunOnMainQueue.h"

#include "lumora/Platform/Platform.h"

namespace lumora {

void runOnMainQueueWithoutDeadlocking(const Task& callback) {
  TaskQueues& queues = platform().queues;
  if (queues.isMainThread()) {
    callback();
  } else {
    queues.mainQueue().sync(callback);
  }
}

}  // namespace lumora
