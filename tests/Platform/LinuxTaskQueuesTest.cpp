#include "lumora/Platform/Linux/LinuxTaskQueues.h"

#include <gtest/gtest.h>
#include <poll.h>
#include <signal.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <future>
#include <string>
#include <thread>
#include <vector>

namespace lumora::testing {
namespace {

class LinuxTaskQueuesTest : public ::testing::Test {
 protected:
  bool isReadable() const {
    pollfd entry{main.descriptor(), POLLIN, 0};
    return ::poll(&entry, 1, 0) == 1;
  }

  LinuxMainQueue main;
  LinuxTaskQueues queues{main};
};

TEST_F(LinuxTaskQueuesTest, AQueueHasOneThreadOfItsOwn) {
  const auto queue = queues.makeSerialQueue("queue");
  std::vector<std::thread::id> threads;
  for (int i = 0; i < 3; ++i) queue->sync([&] { threads.push_back(std::this_thread::get_id()); });
  EXPECT_EQ(threads, std::vector(3, threads.front()));
  EXPECT_NE(threads.front(), std::this_thread::get_id());
}

TEST_F(LinuxTaskQueuesTest, ItsThreadLeavesEverySignalToTheHost) {
  const auto queue = queues.makeSerialQueue("queue");
  sigset_t blocked;
  queue->sync([&] { ::pthread_sigmask(SIG_BLOCK, nullptr, &blocked); });
  for (const int signal : {SIGINT, SIGTERM, SIGCHLD, SIGPIPE, SIGALRM, SIGUSR1}) {
    EXPECT_EQ(sigismember(&blocked, signal), 1) << signal;
  }
  sigset_t ours;
  ::pthread_sigmask(SIG_BLOCK, nullptr, &ours);
  EXPECT_EQ(sigismember(&ours, SIGTERM), 0);
}

TEST_F(LinuxTaskQueuesTest, DestructionWaitsForTheRunningTaskAndDropsTheRest) {
  auto queue = queues.makeSerialQueue("queue");
  std::promise<void> begun;
  std::promise<void> mayEnd;
  std::atomic<bool> ended = false;
  std::atomic<bool> ranNext = false;
  auto held = std::make_shared<int>(1);
  queue->async([&] {
    begun.set_value();
    mayEnd.get_future().wait();
    ended = true;
  });
  queue->async([&, held] { ranNext = true; });
  begun.get_future().wait();
  std::jthread destroyer([&] { queue.reset(); });
  while (held.use_count() > 1) std::this_thread::yield();
  EXPECT_FALSE(ended);
  mayEnd.set_value();
  destroyer.join();
  EXPECT_TRUE(ended);
  EXPECT_FALSE(ranNext);
  EXPECT_TRUE(queues.areSerialQueuesIdle());
}

TEST_F(LinuxTaskQueuesTest, EveryProducersTasksStayInOrder) {
  constexpr int producerCount = 4;
  constexpr int tasksEach = 2'000;
  const auto queue = queues.makeSerialQueue("queue");
  std::array<std::vector<int>, producerCount> order;
  {
    std::vector<std::jthread> producers;
    for (int producer = 0; producer < producerCount; ++producer) {
      producers.emplace_back([&, producer] {
        auto& own = order.at(static_cast<std::size_t>(producer));
        for (int i = 0; i < tasksEach; ++i) queue->async([&own, i] { own.push_back(i); });
      });
    }
  }
  queue->sync([] {});
  for (const auto& own : order) {
    ASSERT_EQ(own.size(), std::size_t{tasksEach});
    EXPECT_TRUE(std::ranges::is_sorted(own));
  }
}

TEST_F(LinuxTaskQueuesTest, KnowsWhetherAnyQueueHasWork) {
  auto queue = queues.makeSerialQueue("queue");
  const auto other = queues.makeSerialQueue("other");
  EXPECT_TRUE(queues.areSerialQueuesIdle());
  std::promise<void> mayEnd;
  queue->async([&] { mayEnd.get_future().wait(); });
  other->sync([] {});
  EXPECT_FALSE(queues.areSerialQueuesIdle());
  mayEnd.set_value();
  queue.reset();
  while (!queues.areSerialQueuesIdle()) std::this_thread::yield();
}

TEST_F(LinuxTaskQueuesTest, RunPendingRunsWhatWaitsNowAndReturns) {
  int runs = 0;
  std::function<void()> again = [&] {
    ++runs;
    EXPECT_FALSE(main.isIdle()) << "a task runs";
    main.async(again);
  };
  EXPECT_EQ(main.runPending(), 0U);
  main.async(again);
  main.async([&] { ++runs; });
  EXPECT_EQ(main.runPending(), 2U);
  EXPECT_EQ(runs, 2);
  EXPECT_FALSE(main.isIdle());
  EXPECT_EQ(main.runPending(), 1U);
}

TEST_F(LinuxTaskQueuesTest, ANestedRunPendingLosesNothing) {
  std::string ran;
  main.async([&] {
    main.runPending();
    ran += "a";
  });
  main.async([&] { ran += "b"; });
  EXPECT_EQ(main.runPending(), 1U);
  EXPECT_EQ(ran, "ba");
  EXPECT_TRUE(main.isIdle());
}

TEST_F(LinuxTaskQueuesTest, TheDescriptorIsReadableExactlyWhileTasksWait) {
  EXPECT_FALSE(isReadable());
  main.async([] {});
  main.async([&] { EXPECT_FALSE(isReadable()) << "this was the last"; });
  EXPECT_TRUE(isReadable());
  main.runPending();
  EXPECT_FALSE(isReadable());
  main.async([&] { main.async([] {}); });
  main.runPending();
  EXPECT_TRUE(isReadable());
  main.runPending();
  EXPECT_FALSE(isReadable());
}

TEST_F(LinuxTaskQueuesTest, RunWorksUntilItIsStopped) {
  std::string ran;
  main.async([&] { ran += "a"; });
  std::jthread other([&] {
    main.sync([&] { ran += "b"; });
    main.async([&] {
      main.stop();
      main.async([&] { ran += "d"; });
      ran += "c";
    });
  });
  main.run();
  EXPECT_EQ(ran, "abc");
  EXPECT_EQ(main.runPending(), 1U) << "what waited when it stopped is still there";
  main.stop();
  main.run();  // A stop that came first is not lost.
  EXPECT_EQ(ran, "abcd");
}

TEST_F(LinuxTaskQueuesTest, StopWakesAnIdleLoop) {
  std::jthread other([&] { main.stop(); });
  main.run();
}

TEST(LinuxMainQueueTest, ItsEndReleasesWhoeverWaitsForATask) {
  auto main = std::make_unique<LinuxMainQueue>();
  bool ran = false;
  std::thread waiter([&queue = *main, &ran] { queue.sync([&ran] { ran = true; }); });
  while (main->isIdle()) std::this_thread::yield();
  main.reset();
  waiter.join();
  EXPECT_FALSE(ran);
}

}  // namespace
}  // namespace lumora::testing
