#include "lumora/Platform/TaskQueues.h"

#include <gtest/gtest.h>

#include <future>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "lumora/Platform/Linux/LinuxTaskQueues.h"
#include "lumora/Testing/FakeTaskQueues.h"

namespace lumora::testing {
namespace {

class FakeHost {
 public:
  TaskQueues& queues() { return queues_; }
  void finish(TaskQueue&) { queues_.runAll(); }
  void finishMain() { queues_.runMainQueue(); }

 private:
  FakeTaskQueues queues_;
};

class LinuxHost {
 public:
  TaskQueues& queues() { return queues_; }
  void finish(TaskQueue& queue) {
    queue.sync([] {});
    finishMain();
  }
  void finishMain() {
    while (main_.runPending() > 0) {
    }
  }

 private:
  LinuxMainQueue main_;
  LinuxTaskQueues queues_{main_};
};

template <typename Host>
class TaskQueuesTest : public ::testing::Test {
 protected:
  Host host;
  std::unique_ptr<TaskQueue> queue = host.queues().makeSerialQueue("com.example.queue");
};

using Hosts = ::testing::Types<FakeHost, LinuxHost>;
TYPED_TEST_SUITE(TaskQueuesTest, Hosts);

TYPED_TEST(TaskQueuesTest, RunsADeepQueueInOrder) {
  constexpr int count = 10'000;
  std::vector<int> order;
  for (int i = 0; i < count; ++i) this->queue->async([&order, i] { order.push_back(i); });
  this->host.finish(*this->queue);
  ASSERT_EQ(order.size(), std::size_t{count});
  for (int i = 0; i < count; ++i) ASSERT_EQ(order[static_cast<std::size_t>(i)], i);
}

TYPED_TEST(TaskQueuesTest, ATaskThatThrowsIsDroppedAndTheQueueGoesOn) {
  std::string ran;
  this->queue->async([&] { ran += "a"; });
  this->queue->async([] { throw std::runtime_error("dropped"); });
  this->queue->async([] { throw 1; });
  this->queue->async([&] { ran += "b"; });
  this->queue->sync([] { throw std::runtime_error("dropped"); });
  this->queue->sync([&] { ran += "c"; });
  this->host.queues().mainQueue().async([] { throw 1; });
  this->host.queues().mainQueue().sync([] { throw 1; });
  this->host.queues().mainQueue().async([&] { ran += "d"; });
  this->host.finish(*this->queue);
  EXPECT_EQ(ran, "abcd");
}

TYPED_TEST(TaskQueuesTest, SyncRunsAfterWhatWaits) {
  std::string ran;
  this->queue->async([&] { ran += "a"; });
  this->queue->sync([&] { ran += "b"; });
  EXPECT_EQ(ran, "ab");
}

TYPED_TEST(TaskQueuesTest, ATaskMayHandOverMore) {
  std::string ran;
  this->queue->async([&] {
    this->queue->async([&] { ran += "b"; });
    ran += "a";
  });
  this->host.finish(*this->queue);
  this->host.finish(*this->queue);
  EXPECT_EQ(ran, "ab");
}

TYPED_TEST(TaskQueuesTest, TellsTheMainThreadFromTheQueues) {
  EXPECT_TRUE(this->host.queues().isMainThread());
  bool isMainInQueue = true;
  bool isMainInMain = false;
  this->queue->sync([&] { isMainInQueue = this->host.queues().isMainThread(); });
  this->host.queues().mainQueue().async([&] { isMainInMain = this->host.queues().isMainThread(); });
  this->host.finishMain();
  EXPECT_FALSE(isMainInQueue);
  EXPECT_TRUE(isMainInMain);
  EXPECT_TRUE(this->host.queues().isMainThread());
}

TYPED_TEST(TaskQueuesTest, MainQueueRunsLaterAndInOrder) {
  std::string ran;
  TaskQueue& main = this->host.queues().mainQueue();
  main.async([&] { ran += "a"; });
  this->queue->sync([&] { main.async([&] { ran += "b"; }); });
  main.async([&] { ran += "c"; });
  EXPECT_EQ(ran, "");
  this->host.finishMain();
  EXPECT_EQ(ran, "abc");
}

TYPED_TEST(TaskQueuesTest, SyncOnTheMainThreadRunsAtOnce) {
  std::string ran;
  TaskQueue& main = this->host.queues().mainQueue();
  main.async([&] { ran += "b"; });
  main.sync([&] { ran += "a"; });
  EXPECT_EQ(ran, "a");
  this->host.finishMain();
  EXPECT_EQ(ran, "ab");
}

TYPED_TEST(TaskQueuesTest, AFinishedTaskLetsGoOfWhatItHolds) {
  auto held = std::make_shared<int>(1);
  this->queue->async([held] {});
  this->host.queues().mainQueue().async([held] {});
  this->host.finish(*this->queue);
  EXPECT_EQ(held.use_count(), 1);
}

TYPED_TEST(TaskQueuesTest, ATaskMayDestroyItsQueue) {
  std::shared_ptr<TaskQueue> doomed = this->host.queues().makeSerialQueue("doomed");
  TaskQueue& doomedQueue = *doomed;
  std::promise<bool> destroyed;
  bool ranNext = false;
  doomedQueue.async([owner = std::move(doomed), &destroyed, &ranNext]() mutable {
    owner->async([&ranNext] { ranNext = true; });
    owner.reset();
    destroyed.set_value(true);
  });
  this->host.finish(*this->queue);
  EXPECT_TRUE(destroyed.get_future().get());
  EXPECT_FALSE(ranNext);
}

TYPED_TEST(TaskQueuesTest, KeepsItsLabel) {
  EXPECT_EQ(this->queue->label(), "com.example.queue");
}

}  // namespace
}  // namespace lumora::testing
