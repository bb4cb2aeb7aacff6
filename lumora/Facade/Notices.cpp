// From whatever thread something happens on to the one on which the host wants to hear of it. What is told,
// and when, is Reports' to say.
#include "lumora/Facade/Notices.h"

#include <exception>
#include <optional>
#include <utility>

#include "lumora/Util/Log.h"

namespace lumora {
namespace {

/// Whether this thread is in a call of the host's executor.
thread_local bool isHandingOver = false;

/// Calls host code; what it throws ends here, with a line.
template <typename Call>
void callHost(const Call& call) noexcept try {
  try {
    call();
  } catch (const std::exception& failure) {
    logLine("LumoraSDK-The observer has thrown an exception: {}", failure.what());
  } catch (...) {
    logLine("LumoraSDK-The observer has thrown an exception.");
  }
} catch (...) {  // Memory ran out.
}

}  // namespace

/// One task for the main queue or the executor. Dropped without having run, it makes way for another one.
class Notices::Delivery {
 public:
  Delivery(Notices& notices, std::uint64_t observation) : notices_(notices), observation_(observation) {}
  ~Delivery() {
    if (!hasRun_) notices_.deliveryDropped(observation_);
  }
  Delivery(const Delivery&) = delete;
  Delivery& operator=(const Delivery&) = delete;

  void run() {
    if (!std::exchange(hasRun_, true)) notices_.deliver(observation_);
  }

 private:
  Notices& notices_;
  const std::uint64_t observation_;
  bool hasRun_ = false;
};

void Notices::setObserver(std::shared_ptr<LumoraObserver> observer, LumoraExecutor executor) {
  std::vector<Notice> dropped;
  const bool isObserved = observer != nullptr;
  {
    Lock lock(mutex_);
    ++observation_;
    if (executor && !handOverQueue_) {
      handOverQueue_ = platform().queues.makeHostQueue("com.ostrel.notices.queue");
    }
    // What was there ends after the lock is released: it is the host's, and may do anything.
    observer_.swap(observer);
    executor_.swap(executor);
    waiting_.swap(dropped);
    isDeliveryQueued_ = false;
    isObserved_ = isObserved;
  }
}

void Notices::post(Notice notice) {
  std::optional<Notice> oldest;
  std::uint64_t observation = 0;
  {
    Lock lock(mutex_);
    if (!observer_) return;
    waiting_.push_back(std::move(notice));
    if (waiting_.size() > mostWaiting) {
      oldest = std::move(waiting_.front());
      waiting_.erase(waiting_.begin());
    }
    if (std::exchange(isDeliveryQueued_, true)) return;
    observation = observation_;
  }
  deliverSoon(observation);
}

bool Notices::endWithin(std::chrono::milliseconds limit) {
  TaskQueue* handOverQueue = nullptr;
  {
    Lock lock(mutex_);
    handOverQueue = handOverQueue_.get();
  }
  if (!handOverQueue) return true;
  return handOverQueue->finishWithin(isHandingOver ? limit.zero() : limit) || isHandingOver;
}

void Notices::deliverSoon(std::uint64_t observation) {
  const auto delivery = std::make_shared<Delivery>(*this, observation);
  const Task task = [delivery] { delivery->run(); };
  LumoraExecutor executor;
  TaskQueue* handOverQueue = nullptr;
  {
    Lock lock(mutex_);
    if (observation != observation_) return;
    executor = executor_;
    handOverQueue = handOverQueue_.get();
  }
  if (executor) {
    handOverQueue->async([executor = std::move(executor), task] {
      isHandingOver = true;
      callHost([&] { executor(task); });
      isHandingOver = false;
    });
  } else {
    platform().queues.mainQueue().async(task);
  }
}

void Notices::deliver(std::uint64_t observation) {
  // Those that come meanwhile are left for a task of their own, so that this one ends.
  for (std::size_t count = 0; count < mostWaiting; ++count) {
    if (!deliverNext(observation)) return;
  }
  deliverSoon(observation);
}

/// False when nothing waits any more for this observer.
bool Notices::deliverNext(std::uint64_t observation) {
  std::shared_ptr<LumoraObserver> observer;
  Notice notice;
  {
    Lock lock(mutex_);
    if (observation != observation_) return false;
    if (waiting_.empty()) {
      isDeliveryQueued_ = false;
      return false;
    }
    observer = observer_;
    notice = std::move(waiting_.front());
    waiting_.erase(waiting_.begin());
  }
  callHost([&] { notice(*observer); });
  return true;
}

void Notices::deliveryDropped(std::uint64_t observation) {
  Lock lock(mutex_);
  if (observation == observation_) isDeliveryQueued_ = false;
}

}  // namespace lumora
