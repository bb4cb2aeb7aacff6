#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>

#include "lumora/Platform/Linux/LinuxClock.h"

namespace lumora::testing {
namespace {

using namespace std::chrono_literals;

TEST(LinuxClockTest, KnowsTheTimeZonesOffsetAtEveryDate) {
  ::setenv("TZ", "EST5EDT,M3.2.0,M11.1.0", 1);
  ::tzset();
  LinuxClock clock;
  const std::pair<std::int64_t, std::chrono::seconds> cases[] = {
      {1705320000'000000, -5h},  // 2024-01-15 12:00 UTC
      {1721044800'000000, -4h},  // 2024-07-15 12:00 UTC
      {1710053999'999999, -5h},  // the last microsecond before summer time
      {1710054000'000000, -4h}, {-1, -5h}, {-63000000000'000000, -5h}, {253402300799'000000, -5h}};
  for (const auto& [microseconds, offset] : cases) {
    EXPECT_EQ(clock.utcOffset(Date(Date::duration(microseconds))), offset) << microseconds;
  }
}

}  // namespace
}  // namespace lumora::testing
