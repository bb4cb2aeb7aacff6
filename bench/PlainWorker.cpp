#include "bench/PlainWorker.h"

#include <future>
#include <utility>

namespace lumora_bench {

PlainWorker::PlainWorker() : thread_([this] { work(); }) {}

PlainWorker::~PlainWorker() {
  {
    const std::lock_guard lock(mutex_);
    isEnding_ = true;
  }
  wake_.notify_one();
  thread_.join();
}

void PlainWorker::async(std::function<void()> task) {
  {
    const std::lock_guard lock(mutex_);
    tasks_.push_back(std::move(task));
  }
  wake_.notify_one();
}

void PlainWorker::sync(std::function<void()> task) {
  std::promise<void> hasRun;
  async([&] {
    task();
    hasRun.set_value();
  });
  hasRun.get_future().wait();
}

void PlainWorker::work() {
  std::unique_lock lock(mutex_);
  for (;;) {
    wake_.wait(lock, [this] { return isEnding_ || !tasks_.empty(); });
    if (tasks_.empty()) return;
    const std::function<void()> task = std::move(tasks_.front());
    tasks_.pop_front();
    lock.unlock();
    task();
    lock.lock();
  }
}

}  // namespace lumora_bench
