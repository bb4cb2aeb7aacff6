#include "lumora/Platform/Clock.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>
#include <vector>

#include "lumora/Platform/Linux/LinuxClock.h"
#include "lumora/Testing/FakeClock.h"

namespace lumora::testing {
namespace {

using namespace std::chrono_literals;

template <typename Implementation>
class ClockTest : public ::testing::Test {
 protected:
  Implementation clock;
};

using Clocks = ::testing::Types<FakeClock, LinuxClock>;
TYPED_TEST_SUITE(ClockTest, Clocks);

TYPED_TEST(ClockTest, SleepingTakesThatTime) {
  const Date before = this->clock.now();
  this->clock.sleepFor(2ms);
  EXPECT_GE(this->clock.now() - before, 2ms);
}

TEST(FakeClockTest, MovesOnlyByHand) {
  FakeClock clock;
  const Date start = clock.now();
  EXPECT_EQ(clock.now(), start);
  clock.advance(1us);
  EXPECT_EQ(clock.now(), start + 1us);
  std::vector<std::chrono::milliseconds> sleeps;
  clock.setSleepHook([&](std::chrono::milliseconds duration) {
    EXPECT_EQ(clock.now(), start + 1us + 5s);
    sleeps.push_back(duration);
  });
  clock.sleepFor(5s);
  EXPECT_EQ(sleeps, std::vector<std::chrono::milliseconds>{5s});
  clock.setNow(Date{});
  clock.setUTCOffset(-1h);
  EXPECT_EQ(clock.now(), Date{});
  EXPECT_EQ(clock.utcOffset(start), -1h);
}

TEST(LinuxClockTest, KnowsTheTimeZonesOffsetAtEveryDate) {
  ::setenv("TZ", "EST5EDT,M3.2.0,M11.1.0", 1);
  ::tzset();
  LinuxClock clock;
  const std::vector<std::pair<std::int64_t, std::chrono::seconds>> cases = {
      {1705320000'000000, -5h},  // 2024-01-15 12:00 UTC
      {1721044800'000000, -4h},  // 2024-07-15 12:00 UTC
      {1710053999'999999, -5h},  // the last microsecond before summer time
      {1710054000'000000, -4h}, {0, -5h}, {-1, -5h}, {-63000000000'000000, -5h}, {253402300799'000000, -5h},
  };
  for (const auto& [microseconds, offset] : cases) {
    EXPECT_EQ(clock.utcOffset(Date(Date::duration(microseconds))), offset) << microseconds;
  }
}

}  // namespace
}  // namespace lumora::testing
