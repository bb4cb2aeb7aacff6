#include <tuple>

#include "tests/Facade/LumoraFixture.h"

namespace lumora::tests {
namespace {

class SessionsTest : public LumoraTest {
 protected:
  SessionsTest() { host.settings.setObject(kLmroInit, true); }
};

TEST_F(SessionsTest, durationCountsWholeSecondsOfTheClock) {
  constexpr int none = 0;
  // The fractions of both ends are cut off.
  using Case = std::tuple<double, double, std::int64_t>;
  const Case cases[] = {{100, 100.999999, none},
                        {100.9, 101, 1},
                        {100, 99, none},
                        {-1.5, 0.5, 1},
                        {-0.5, 0.5, none},
                        {1e12, 1e12 + 60, none},
                        {-1e12, 2147483647.9, 4294967295}};
  for (const auto& [start, end, duration] : cases) {
    SCOPED_TRACE(std::to_string(start) + " to " + std::to_string(end));
    setNow(start);
    ASSERT_TRUE(logger().startSession("level"));
    setNow(end);
    logger().endSession("level");
    const auto timestamp = static_cast<std::int64_t>(std::min(end, 2147483647.0));
    EXPECT_EQ(storedEvents(), duration == none ? Texts() : Texts{sessionEvent("level", duration, timestamp)});
    EXPECT_EQ(logger().startSession("level"), duration != none);
    logger().discardAllSessions();
    LMRDataManager::sharedInstance().cleanUpAppEvents();
  }
}

TEST_F(SessionsTest, fiveHundredMayBeOpenUntilTheyAreDiscarded) {
  for (int i = 0; i < 500; ++i) ASSERT_TRUE(logger().startSession("s" + std::to_string(i)));
  const std::string refusal = "LumoraSDK-Session threshold exceeded, unable to start this session ";
  EXPECT_FALSE(logger().startSession("s3"));  // The limit is told, not that the name is open.
  EXPECT_FALSE(logger().startAppSession());
  EXPECT_EQ(log(), (Texts{refusal + "s3.", refusal + "lmr_app_session."}));
  EXPECT_EQ(setting("lmr_app_open"), "absent");
  advance(1);
  logger().endSession("s3");
  EXPECT_TRUE(logger().startSession("one more"));
  EXPECT_FALSE(logger().startSession("two more"));

  logger().discardAllSessions();
  advance(5);
  host.log.clear();
  logger().endSession("s1");
  logger().stopAppSession();  // Only a host's own session is missed.
  logger().endAllSessions();
  EXPECT_EQ(log(), Texts{"LumoraSDK-s1 session not started."});
  EXPECT_EQ(storedEvents(), Texts{sessionEvent("s3", 1, startSecond + 1)});
}

TEST_F(SessionsTest, endAllLeavesTheYoungOnesOpen) {
  for (const char* name : {"b", "a"}) logger().startSession(name);
  advance(2);
  logger().startSession("c");
  logger().endAllSessions();
  EXPECT_EQ(storedEvents(),
            (Texts{sessionEvent("a", 2, startSecond + 2), sessionEvent("b", 2, startSecond + 2)}));
  EXPECT_FALSE(logger().startSession("c"));  // Which does not begin anew.
  EXPECT_EQ(log(), Texts{"LumoraSDK-Session c already started."});
  EXPECT_TRUE(logger().startSession("a") && logger().startSession("C"));
  setNow(startSecond + 5);
  logger().endSession("c");
  EXPECT_EQ(storedEvents().back(), sessionEvent("c", 3, startSecond + 5));
}

TEST_F(SessionsTest, applicationSessionRecordsTheApplicationOpenOnce) {
  EXPECT_TRUE(logger().startAppSession());
  EXPECT_FALSE(logger().startAppSession());
  advance(60);
  logger().stopAppSession();
  EXPECT_EQ(storedEvents(), (Texts{appOpenEvent(), sessionEvent("lmr_app_session", 60, startSecond + 60)}));
  EXPECT_TRUE(logger().startAppSession());
  EXPECT_EQ(setting("lmr_app_open"), "2");
}

}  // namespace
}  // namespace lumora::tests
