// Queues whose tasks run when the test says so, on its own thread: which thread a task believes to be on is a
// flag here, not a fact.
#include "lumora/Testing/FakeTaskQueues.h"

#include <deque>
#include <optional>
#include <thread>
#include <utility>
#include <vector>

#include "lumora/Platform/Mutex.h"

namespace lumora::testing {

/// What the queues share; it outlives them all. A queue that a task destroys leaves nothing dangling here.
struct FakeTaskQueues::State {
  struct Waiting {
    bool isMain;
    std::deque<Task> tasks;
  };
  using Queues = std::vector<std::shared_ptr<Waiting>>;

  /// The next task of that queue; nothing when none waits.
  std::optional<Task> pop(Waiting& queue) {
    Lock lock(mutex);
    if (queue.tasks.empty()) return std::nullopt;
    std::optional<Task> task(std::move(queue.tasks.front()));
    queue.tasks.pop_front();
    return task;
  }

  /// The next task of the first serial queue that has one.
  std::optional<Task> popSerial() {
    for (const auto& queue : copyOfQueues()) {
      if (queue->isMain) continue;
      if (std::optional<Task> task = pop(*queue)) return task;
    }
    return std::nullopt;
  }

  void run(const Task& task, bool onMainThread) {
    const bool before = exchangeMainThread(onMainThread);
    try {
      task();
    } catch (...) {
      // A task has nobody to report to.
    }
    exchangeMainThread(before);
  }

  bool exchangeMainThread(bool value) {
    Lock lock(mutex);
    return std::exchange(isMainThread, value);
  }

  Queues copyOfQueues() {
    Lock lock(mutex);
    return queues;
  }

  const std::thread::id testThread = std::this_thread::get_id();
  Mutex mutex;
  Queues queues LUMORA_GUARDED_BY(mutex);
  bool isMainThread LUMORA_GUARDED_BY(mutex) = true;
};

class FakeTaskQueues::Queue : public TaskQueue {
 public:
  Queue(std::string label, bool isMain, std::shared_ptr<State> state)
      : label_(std::move(label)),
        state_(std::move(state)),
        waiting_(std::make_shared<State::Waiting>(State::Waiting{isMain, {}})) {
    Lock lock(state_->mutex);
    state_->queues.push_back(waiting_);
  }

  ~Queue() override {
    std::deque<Task> dropped;  // Destroyed after the lock is gone: a task may hold anything.
    Lock lock(state_->mutex);
    std::erase(state_->queues, waiting_);
    dropped.swap(waiting_->tasks);
  }

  std::string label() const override { return label_; }

  void async(Task task) override {
    if (!task) return;
    Lock lock(state_->mutex);
    if (!isFinished_) waiting_->tasks.push_back(std::move(task));
  }

  void sync(const Task& task) override {
    if (!task) return;
    const std::shared_ptr<State> state = state_;
    const bool isOwnThread = waiting_->isMain && isMainThread();
    if (!isOwnThread) runPending();
    state->run(task, waiting_->isMain);
  }

  bool syncWithin(Task task, std::chrono::milliseconds) override {
    sync(task);
    return true;
  }

  bool finishWithin(std::chrono::milliseconds limit) override {
    if (limit > limit.zero()) runPending();
    Lock lock(state_->mutex);
    isFinished_ = true;
    return waiting_->tasks.empty();
  }

  /// Runs what waits, with what is added meanwhile; whether there was anything.
  bool runPending() {
    bool ranAny = false;
    while (std::optional<Task> task = state_->pop(*waiting_)) {
      state_->run(*task, waiting_->isMain);
      ranAny = true;
    }
    return ranAny;
  }

  std::size_t pendingCount() const {
    Lock lock(state_->mutex);
    return waiting_->tasks.size();
  }

  bool isMainThread() const {
    Lock lock(state_->mutex);
    return std::this_thread::get_id() == state_->testThread && state_->isMainThread;
  }

 private:
  const std::string label_;
  const std::shared_ptr<State> state_;
  const std::shared_ptr<State::Waiting> waiting_;
  bool isFinished_ = false;
};

FakeTaskQueues::FakeTaskQueues()
    : state_(std::make_shared<State>()), mainQueue_(std::make_unique<Queue>("main", true, state_)) {}

FakeTaskQueues::~FakeTaskQueues() = default;

std::unique_ptr<TaskQueue> FakeTaskQueues::makeSerialQueue(std::string label) {
  return std::make_unique<Queue>(std::move(label), false, state_);
}

TaskQueue& FakeTaskQueues::mainQueue() {
  return *mainQueue_;
}

bool FakeTaskQueues::isMainThread() {
  return mainQueue_->isMainThread();
}

void FakeTaskQueues::runAll() {
  do {
    runSerialQueues();
  } while (mainQueue_->runPending());
}

void FakeTaskQueues::runSerialQueues() {
  while (const std::optional<Task> task = state_->popSerial()) state_->run(*task, false);
}

void FakeTaskQueues::runMainQueue() {
  mainQueue_->runPending();
}

std::size_t FakeTaskQueues::pendingCount() const {
  std::size_t count = 0;
  const State::Queues queues = state_->copyOfQueues();
  Lock lock(state_->mutex);
  for (const auto& queue : queues) count += queue->tasks.size();
  return count;
}

std::size_t FakeTaskQueues::pendingMainCount() const {
  return mainQueue_->pendingCount();
}

void FakeTaskQueues::setMainThread(bool isMainThread) {
  state_->exchangeMainThread(isMainThread);
}

}  // namespace lumora::testing
