// A callback on the main thread, for callers that may be on it themselves: waiting there for the main queue
// would never end. The queue itself is the platform's.
#include "lumora/Util/RunOnMainQueue.h"

#include "lumora/Platform/Platform.h"

namespace lumora {

void runOnMainQueueWithoutDeadlocking(const Task& callback) {
  const auto run = [&callback] {
    try {
      callback();
    } catch (...) {
      // What the callback throws ends here, on whichever thread it runs.
    }
  };
  TaskQueues& queues = platform().queues;
  if (queues.isMainThread()) {
    run();
  } else {
    queues.mainQueue().sync(run);
  }
}

}  // namespace lumora
