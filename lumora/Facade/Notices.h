#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

#include "lumora/Facade/LumoraObserver.h"
#include "lumora/Platform/Mutex.h"
#include "lumora/Platform/TaskQueues.h"

namespace lumora {

/// The notices on their way to the host's observer. Any thread may post, whatever locks it holds; they are
/// delivered without any, one at a time.
class Notices {
 public:
  using Notice = std::function<void(LumoraObserver& observer)>;
  static constexpr std::size_t mostWaiting = 64;

  /// Null ends it. What waits for the earlier observer is dropped.
  void setObserver(std::shared_ptr<LumoraObserver> observer, LumoraExecutor executor);
  /// Whether a notice is worth making.
  bool isObserved() const noexcept { return isObserved_.load(std::memory_order_relaxed); }
  void post(Notice notice);
  /// Hands nothing to an executor any more once that was done with what waits; whether it was, within the
  /// limit. On the thread of a notice that its executor runs at once, it does not wait.
  bool endWithin(std::chrono::milliseconds limit);

 private:
  class Delivery;

  void deliverSoon(std::uint64_t observation);
  void deliver(std::uint64_t observation);
  bool deliverNext(std::uint64_t observation);
  void deliveryDropped(std::uint64_t observation);

  std::atomic<bool> isObserved_ = false;
  Mutex mutex_;
  /// Counts the observers: what was begun for an earlier one ends unseen.
  std::uint64_t observation_ LUMORA_GUARDED_BY(mutex_) = 0;
  std::shared_ptr<LumoraObserver> observer_ LUMORA_GUARDED_BY(mutex_);
  LumoraExecutor executor_ LUMORA_GUARDED_BY(mutex_);
  /// The host's executor is called on this queue: who posts may hold locks.
  std::unique_ptr<TaskQueue> handOverQueue_ LUMORA_GUARDED_BY(mutex_);
  std::vector<Notice> waiting_ LUMORA_GUARDED_BY(mutex_);
  bool isDeliveryQueued_ LUMORA_GUARDED_BY(mutex_) = false;
};

}  // namespace lumora
