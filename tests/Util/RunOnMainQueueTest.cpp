#include "lumora/Util/RunOnMainQueue.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>

#include "lumora/Testing/FakePlatform.h"

namespace lumora::tests {
namespace {

TEST(RunOnMainQueueTest, runsAtOnceOnTheMainThreadAndInTurnFromAnother) {
  auto& host = testing::FakePlatform::install();
  std::string order;
  host.queues.mainQueue().async([&order] { order += "queued "; });
  runOnMainQueueWithoutDeadlocking([&order] { order += "atOnce "; });
  EXPECT_EQ(order, "atOnce ");

  host.queues.setMainThread(false);
  runOnMainQueueWithoutDeadlocking([&] { order += host.queues.isMainThread() ? "onMain" : "elsewhere"; });
  EXPECT_EQ(order, "atOnce queued onMain");
  for (const bool isMain : {true, false}) {
    host.queues.setMainThread(isMain);
    EXPECT_NO_THROW(runOnMainQueueWithoutDeadlocking([] { throw std::runtime_error("ends there"); }));
  }
}

}  // namespace
}  // namespace lumora::tests
