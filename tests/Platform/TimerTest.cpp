#include <gtest/gtest.h>

#include <future>
#include <memory>

#include "lumora/Platform/Linux/Host/LinuxClock.h"
#include "lumora/Testing/FakeClock.h"
#include "tests/Support/ChildProcess.h"

namespace lumora::testing {
namespace {

using namespace std::chrono_literals;

class TimerTest : public ::testing::Test {
 protected:
  LinuxClock clock;
  std::promise<void> called;
};

TEST_F(TimerTest, CallsBackOnceForTheLastStart) {
  const auto timer = clock.makeTimer([this] { called.set_value(); });  // A second call would throw.
  EXPECT_TRUE(timer->cancel());
  timer->start(1h);
  timer->start(1ms);
  called.get_future().wait();
  timer->start(1h);
}

TEST_F(TimerTest, EndsInItsOwnCallback) {
  std::unique_ptr<Timer> timer;
  timer = clock.makeTimer([&] {
    timer.reset();
    called.set_value();
  });
  timer->start(0ms);
  called.get_future().wait();
}

TEST_F(TimerTest, AForkedChildCanNeitherWaitForItNorUseIt) {
  auto timer = clock.makeTimer([] {});
  timer->start(1h);
  ChildProcess child([&timer] {
    timer->start(0ms);
    const bool isCancelled = timer->cancel();
    timer.reset();
    return !isCancelled;
  });
  EXPECT_TRUE(child.succeeds());
}

TEST_F(TimerTest, FakeTimersFollowTheFakeClock) {
  FakeClock fake;
  const Date start = fake.now();
  std::string calls;
  std::unique_ptr<Timer> first;
  const auto second = fake.makeTimer([&] { calls += "second "; });
  first = fake.makeTimer([&] {
    calls += "first at " + std::to_string((fake.now() - start) / 1s) + " ";
    first->start(2s);
  });
  first->start(3s);
  second->start(4s);
  EXPECT_EQ(fake.untilNextTimer(), 3s);
  fake.setNow(start + 1h);
  EXPECT_EQ(calls, "");
  fake.setNow(start);
  fake.advance(6s);
  EXPECT_EQ(calls, "first at 3 second first at 5 ");
  EXPECT_EQ(fake.now(), start + 6s);
  EXPECT_EQ(fake.untilNextTimer(), 1s);
}

}  // namespace
}  // namespace lumora::testing
