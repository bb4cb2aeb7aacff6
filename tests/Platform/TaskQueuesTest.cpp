#include <gtest/gtest.h>
#include <poll.h>
#include <signal.h>

#include <algorithm>
#include <atomic>
#include <future>
#include <thread>

#include "lumora/Platform/Linux/LinuxTaskQueues.h"
#include "lumora/Testing/FakeTaskQueues.h"

namespace lumora::testing {
namespace {

struct FakeQueuesHost {
  void finish(TaskQueue&) { queues.runAll(); }
  FakeTaskQueues queues;
};

struct LinuxQueuesHost {
  void finish(TaskQueue& queue) {
    queue.sync([] {});
    while (main.runPending() > 0) continue;
  }
  LinuxMainQueue main;
  LinuxTaskQueues queues{main};
};

template <typename Host>
struct TaskQueuesTest : ::testing::Test {
  Host host;
  TaskQueue& main = host.queues.mainQueue();
  std::unique_ptr<TaskQueue> queue = host.queues.makeSerialQueue("com.example.queue");
  std::string ran;
};

using QueuesHosts = ::testing::Types<FakeQueuesHost, LinuxQueuesHost>;
TYPED_TEST_SUITE(TaskQueuesTest, QueuesHosts);

TYPED_TEST(TaskQueuesTest, WaitsWithALimitAndFinishesWithWhatWasHandedOver) {
  constexpr std::chrono::minutes limit(1);
  const auto add = [this](char letter) { return [this, letter] { this->ran += letter; }; };
  this->queue->async(add('a'));
  EXPECT_TRUE(this->queue->syncWithin(add('b'), limit));
  EXPECT_EQ(this->ran, "ab");
  this->queue->async(add('c'));
  EXPECT_TRUE(this->queue->finishWithin(limit));
  this->queue->async(add('d'));
  EXPECT_TRUE(this->queue->finishWithin(limit));
  EXPECT_EQ(this->ran, "abc");
}

TYPED_TEST(TaskQueuesTest, RunsADeepQueueInOrderAndLetsGoOfIt) {
  auto order = std::make_shared<std::vector<int>>();
  for (int i = 0; i < 10'000; ++i) this->queue->async([order, i] { order->push_back(i); });
  this->main.async([order] {});
  this->host.finish(*this->queue);
  EXPECT_EQ(order->size(), 10'000U);
  EXPECT_TRUE(std::ranges::is_sorted(*order));
  EXPECT_EQ(order.use_count(), 1);
}

TYPED_TEST(TaskQueuesTest, ATaskThatThrowsIsDroppedAndTheMainQueueRunsLater) {
  for (TaskQueue* const each : {this->queue.get(), &this->main}) {
    each->async(nullptr);
    each->sync(nullptr);
    each->async([] { throw 1; });
    each->sync([] { throw std::exception(); });
  }
  this->main.async([this] { this->ran += this->host.queues.isMainThread() ? "b" : "B"; });
  this->queue->async([this] { this->main.async([this] { this->ran += "c"; }); });
  this->queue->sync([this] { this->ran += this->host.queues.isMainThread() ? "Q" : "q"; });
  this->main.sync([this] { this->ran += "a"; });
  EXPECT_EQ(this->ran, "qa");
  this->host.finish(*this->queue);
  EXPECT_EQ(this->ran, "qabc");
}

TYPED_TEST(TaskQueuesTest, ATaskMayDestroyItsQueue) {
  std::shared_ptr<TaskQueue> doomed = this->host.queues.makeSerialQueue("doomed");
  TaskQueue& doomedQueue = *doomed;
  std::promise<void> destroyed;
  doomedQueue.async([owner = std::move(doomed), &destroyed]() mutable {
    owner.reset();
    destroyed.set_value();
  });
  this->host.finish(*this->queue);
  destroyed.get_future().get();
}

struct LinuxTaskQueuesTest : ::testing::Test {
  bool isReadable() const {
    pollfd entry{main.descriptor(), POLLIN, 0};
    return ::poll(&entry, 1, 0) == 1;
  }
  LinuxMainQueue main;
  LinuxTaskQueues queues{main};
};

TEST_F(LinuxTaskQueuesTest, ItsThreadLeavesSignalsToTheHostSaveForItsOwnFaults) {
  const auto queue = queues.makeSerialQueue("queue");
  sigset_t blocked;
  queue->sync([&] { ::pthread_sigmask(SIG_BLOCK, nullptr, &blocked); });
  for (const int each : {SIGINT, SIGTERM, SIGCHLD, SIGPIPE})
    EXPECT_EQ(sigismember(&blocked, each), 1) << each;
  for (const int each : {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGABRT})
    EXPECT_EQ(sigismember(&blocked, each), 0) << each;
}

TEST_F(LinuxTaskQueuesTest, WaitsNoLongerThanTheLimit) {
  std::promise<void> end;
  std::string ran;
  const auto queue = queues.makeSerialQueue("queue");
  queue->async([&] { end.get_future().wait(); });
  EXPECT_FALSE(queue->syncWithin([&] { ran += 'a'; }, std::chrono::milliseconds(1)));
  EXPECT_FALSE(queue->finishWithin(std::chrono::milliseconds(1)));
  end.set_value();
  EXPECT_TRUE(queue->finishWithin(std::chrono::minutes(1)));
  EXPECT_EQ(ran, "a");
}

TEST_F(LinuxTaskQueuesTest, DestructionWaitsForTheRunningTaskAndDropsTheRest) {
  auto queue = queues.makeSerialQueue("queue");
  std::promise<void> begun, mayEnd;
  std::atomic<int> ran = 0;
  auto held = std::make_shared<int>(1);
  queue->async([&] {
    begun.set_value();
    mayEnd.get_future().wait();
    ran += 1;
  });
  queue->async([&, held] { ran += 10; });
  begun.get_future().wait();
  EXPECT_FALSE(queues.areSerialQueuesIdle());
  std::jthread destroyer([&] { queue.reset(); });
  while (held.use_count() > 1) std::this_thread::yield();
  EXPECT_EQ(ran, 0);
  mayEnd.set_value();
  destroyer.join();
  EXPECT_EQ(ran, 1);
  EXPECT_TRUE(queues.areSerialQueuesIdle());
}

TEST_F(LinuxTaskQueuesTest, RunPendingRunsWhatWaitsNowAndTheDescriptorTellsOfMore) {
  main.async(nullptr);
  EXPECT_FALSE(isReadable());
  main.async([&] {
    EXPECT_EQ(main.runPending(), 1U) << "nested";
    main.async([] {});
    EXPECT_FALSE(main.isIdle());
  });
  main.async([] {});
  EXPECT_TRUE(isReadable());
  EXPECT_EQ(main.runPending(), 2U);
  EXPECT_FALSE(isReadable());
  main.async([&] { main.async([] {}); });
  EXPECT_EQ(main.runPending(), 1U) << "what a task adds is left for the next call";
  EXPECT_TRUE(isReadable());
}

TEST_F(LinuxTaskQueuesTest, RunWorksUntilItIsStopped) {
  std::string ran;
  std::jthread other([&] {
    main.sync([&] { ran += "a"; });
    main.async([&] {
      main.stop();
      main.async([&] { ran += "c"; });
      ran += "b";
    });
  });
  main.run();
  EXPECT_EQ(ran, "ab") << "what waited when it stopped is left";
  main.stop();
  main.run();
  EXPECT_EQ(ran, "abc") << "a stop that came first is not lost, nor does it come before the tasks";
}

}  // namespace
}  // namespace lumora::testing
