#include <gtest/gtest.h>

#include <chrono>
#include <map>
#include <string>
#include <tuple>
#include <utility>

#include "lumora/Testing/FakePlatform.h"
#include "lumora/Util/LMRUtil.h"

namespace lumora::tests {
namespace {

using Lines = std::vector<std::string>;

class CommonUtilitiesTest : public ::testing::Test {
 protected:
  static const LMRUtil& util() { return LMRUtil::sharedInstance(); }

  testing::FakePlatform& host = testing::FakePlatform::install();
};

TEST_F(CommonUtilitiesTest, emailAddresses) {
  for (const char* text : {"ada@example.com", "a@b.co", "a@b.c.d.museum", "a b@c.de", " @c.de", "a@b@c.de",
                           "@@c.de", "a@x.y@c.de", "\xC3\xA4\xF0\x9F\x98\x80@c.de", "a@-.de", "a@1-2.3.de"})
    EXPECT_TRUE(util().isValidEmail(text)) << text;
  for (const char* text :
       {"", "@", "ada", "@c.de", "a@", "a@de", "a@.de", "a@c..de", "a@c.d", "a@c.de.", "a@c.d1", "a@c.1de",
        "a@c.d-e", "a@c_d.de", "a@c d.de", "a@c.de ", "a@c.de\n", "a@c.de@"})
    EXPECT_FALSE(util().isValidEmail(text)) << text;
  for (const char* text : {"a\n@c.de", "a\r@c.de", "a\v@c.de", "a\f@c.de", "a\xC2\x85@c.de",
                           "a\xE2\x80\xA8@c.de", "a\xE2\x80\xA9@c.de", "a@\xC3\xA4.de", "a@c.d\xC3\xA4"})
    EXPECT_FALSE(util().isValidEmail(text)) << text;
  EXPECT_FALSE(util().isValidEmail(std::string_view("a@c.de\0", 7)));
}

TEST_F(CommonUtilitiesTest, longEmailAddressesAreCheckedInLinearTime) {
  const auto repeated = [](std::string_view part) {
    std::string text;
    while (text.size() < (1U << 20)) text += part;
    return text;
  };
  const std::pair<std::string, bool> cases[] = {
      {repeated("a") + "@c.de", true}, {repeated("@") + "c.de", true}, {"a@" + repeated("b.") + "de", true},
      {"a@c." + repeated("d"), true},  {repeated("a@b."), false},      {"a@" + repeated("b.") + "1", false},
      {"a@" + repeated("."), false},   {repeated("a"), false},         {repeated("a\n") + "@c.de", false},
  };
  for (const auto& [text, isValid] : cases)
    EXPECT_EQ(util().isValidEmail(text), isValid)
        << text.substr(0, 8) << " … " << text.substr(text.size() - 8);
}

TEST_F(CommonUtilitiesTest, escapingForSQLBuildsStepUponStep) {
  const std::pair<std::string, std::string> cases[] = {
      {"//''", "//''''''"}, {"\r\n\t", "\r \t"}, {"'\n/'", "'' /''''"}};
  for (const auto& [text, expected] : cases) EXPECT_EQ(util().formatString(text), expected) << text;
  const std::string apostrophes(1 << 20, '\'');
  EXPECT_TRUE(util().formatString(apostrophes) == apostrophes + apostrophes);
}

TEST_F(CommonUtilitiesTest, theTimeStampCountsMilliseconds) {
  host.clock.setNow(dateFromSeconds(1496318400.5));
  EXPECT_EQ(util().getCurrentTimeStamp(), "1496318400500.000000");
}

/// Its offset, in hours, changes once.
struct ChangingClock : ForwardingClock {
  using ForwardingClock::ForwardingClock;
  std::chrono::seconds utcOffset(Date date) override {
    return std::chrono::hours(secondsSince1970(date) < change ? before : after);
  }
  double change = 0;
  int before = 0;
  int after = 0;
};

TEST(LocalDayTest, aDayBeginsWithItsFirstMoment) {
  testing::FakePlatform fakes;
  ChangingClock clock(fakes.clock);
  installPlatform({fakes.settings, fakes.keychain, fakes.urlLoader, fakes.imageDecoder, fakes.queues,
                   fakes.application, fakes.bundle, fakes.alerts, fakes.notifications, fakes.device,
                   fakes.files, fakes.sharedFiles, clock, fakes.log, fakes.uuids});
  // clang-format off
  const std::tuple<double, int, int, std::map<std::string, double>> zones[] = {
      {1491062400, 11, 10, {{"2017-04-01", 1490965200}, {"2017-04-02", 1491051600}, {"2017-04-03", 1491141600},
                            {"1970-01-01", -39600}, {"2016-02-29", 1456664400}}},
      // From 24 to 1 o'clock: the second day has no midnight.
      {1541300400, -3, -2, {{"2018-11-03", 1541214000}, {"2018-11-04", 1541300400}, {"2018-11-05", 1541383200}}},
      // From 24 to 23 o'clock, and from 1 to 0 o'clock, which is midnight twice.
      {1518919200, -2, -3, {{"2018-02-17", 1518832800}, {"2018-02-18", 1518922800}, {"2018-02-19", 1519009200}}},
      {1541307600, -4, -5, {{"2018-11-03", 1541217600}, {"2018-11-04", 1541304000}, {"2018-11-05", 1541394000}}}};
  // clang-format on
  for (const auto& [change, before, after, days] : zones) {
    clock.change = change;
    clock.before = before;
    clock.after = after;
    for (const auto& [text, seconds] : days)
      EXPECT_EQ(LMRUtil::sharedInstance().getUTCDateTime(text), dateFromSeconds(seconds)) << text << before;
  }
}

TEST_F(CommonUtilitiesTest, noOtherTextIsADay) {
  for (const char* text :
       {"2017-02-29", "2017-13-01", "2017-06-00", "2017-06-01 ", "2017-06-01T00:00:00", "2017-06",
        "01.06.2017", "today", "", "+2017-06-01", "-2017-06-01", " 2017-06-01", "2017-+6-01", "2017--6-01"})
    EXPECT_FALSE(util().getUTCDateTime(text)) << text;
}

TEST_F(CommonUtilitiesTest, theStoryboardComesFromTheResourceBundle) {
  EXPECT_EQ(util().getStoryboard(), nullptr);
  host.bundle.setResource("LMRResources.bundle", "/host/LMRResources.bundle");
  EXPECT_EQ(util().getStoryboard(), nullptr);
  EXPECT_EQ(host.log.messages(), (Lines{"LumoraSDK-LMRResources.bundle not found !",
                                        "LumoraSDK-LMRInApp Storyboard not found !"}));
}

}  // namespace
}  // namespace lumora::tests
