#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <string>
#include <utility>

#include "lumora/Testing/FakePlatform.h"
#include "lumora/Util/LMRSettingsKeys.h"
#include "lumora/Util/LMRUtil.h"

namespace lumora::tests {
namespace {

using Lines = std::vector<std::string>;

class CommonUtilitiesTest : public ::testing::Test {
 protected:
  static const LMRUtil& util() { return LMRUtil::sharedInstance(); }

  testing::FakePlatform& host = testing::FakePlatform::install();
};

TEST_F(CommonUtilitiesTest, onlyNullAndTheEmptyTextAreEmpty) {
  EXPECT_TRUE(LMRUtil::isStringEmpty(Value()));
  EXPECT_TRUE(LMRUtil::isStringEmpty(Value("")));
  EXPECT_TRUE(LMRUtil::isStringEmpty(std::optional<std::string>()));
  EXPECT_TRUE(LMRUtil::isStringEmpty(std::optional<std::string>("")));
  EXPECT_FALSE(LMRUtil::isStringEmpty(std::optional<std::string>(" ")));
  for (const Value& value :
       {Value(" "), Value(std::string(1, '\0')), Value(0), Value(false), Value(List())}) {
    EXPECT_FALSE(LMRUtil::isStringEmpty(value)) << value.description();
  }
}

TEST_F(CommonUtilitiesTest, aMissingValueIsLoggedWhenACampaignIsNamed) {
  const Dictionary map{{"null", Value()}, {"empty", ""}, {"false", false}};
  EXPECT_TRUE(LMRUtil::hasValue("empty", map, "c1"));
  EXPECT_TRUE(LMRUtil::hasValue("false", map, "c1"));
  EXPECT_FALSE(LMRUtil::hasValue("null", map));
  EXPECT_FALSE(LMRUtil::hasValue("absent", map));
  EXPECT_EQ(host.log.messages(), Lines());
  EXPECT_FALSE(LMRUtil::hasValue("null", map, "c1"));
  EXPECT_FALSE(LMRUtil::hasValue("absent", map, ""));
  EXPECT_EQ(host.log.messages(),
            (Lines{"LumoraSDK- Dropping campaign c1 due to null have nil or bad value",
                   "LumoraSDK- Dropping campaign  due to absent have nil or bad value"}));
}

TEST_F(CommonUtilitiesTest, emailAddresses) {
  const std::pair<std::string, bool> cases[] = {
      {"ada@example.com", true},
      {"a@b.co", true},
      {"a@b.c.d.museum", true},
      {"a b@c.de", true},
      {" @c.de", true},
      {"a@b@c.de", true},
      {"@@c.de", true},
      {"a@x.y@c.de", true},
      {"\xC3\xA4\xF0\x9F\x98\x80@c.de", true},
      {"a@-.de", true},
      {"a@1-2.3.de", true},
      {"", false},
      {"@", false},
      {"ada", false},
      {"@c.de", false},
      {"a@", false},
      {"a@de", false},
      {"a@.de", false},
      {"a@c..de", false},
      {"a@c.d", false},
      {"a@c.de.", false},
      {"a@c.d1", false},
      {"a@c.1de", false},
      {"a@c.d-e", false},
      {"a@c_d.de", false},
      {"a@c d.de", false},
      {"a@c.de ", false},
      {"a@c.de\n", false},
      {"a\n@c.de", false},
      {"a\r@c.de", false},
      {"a\v@c.de", false},
      {"a\f@c.de", false},
      {"a\xC2\x85@c.de", false},
      {"a\xE2\x80\xA8@c.de", false},
      {"a\xE2\x80\xA9@c.de", false},
      {"a@\xC3\xA4.de", false},
      {"a@c.d\xC3\xA4", false},
      {"a@c.de@", false},
      {std::string("a@c.de\0", 7), false},
  };
  for (const auto& [text, isValid] : cases) EXPECT_EQ(util().isValidEmail(text), isValid) << text;
}

TEST_F(CommonUtilitiesTest, longEmailAddressesAreCheckedInLinearTime) {
  constexpr std::size_t million = 1 << 20;
  const auto repeated = [](std::string_view part) {
    std::string text;
    while (text.size() < million) text += part;
    return text;
  };
  const std::pair<std::string, bool> cases[] = {
      {repeated("a") + "@c.de", true}, {repeated("@") + "c.de", true}, {"a@" + repeated("b.") + "de", true},
      {"a@c." + repeated("d"), true},  {repeated("a@b."), false},      {"a@" + repeated("b.") + "1", false},
      {"a@" + repeated("."), false},   {repeated("a"), false},         {repeated("a\n") + "@c.de", false},
  };
  for (const auto& [text, isValid] : cases) {
    EXPECT_EQ(util().isValidEmail(text), isValid)
        << text.substr(0, 8) << " … " << text.substr(text.size() - 8);
  }
}

TEST_F(CommonUtilitiesTest, aTextWithoutASchemeBecomesAWebAddress) {
  using Text = std::optional<std::string>;
  const std::pair<Text, Text> cases[] = {
      {"example.com", "http://example.com"},
      {"example.com/a?b=c#d", "http://example.com/a?b=c#d"},
      {"mailto:a@b.de", "http://mailto:a@b.de"},
      {"https://example.com/", "https://example.com/"},
      {"myapp://open", "myapp://open"},
      {"example.com?u=x://y", "example.com?u=x://y"},
      {"two words", std::nullopt},
      {"http://two words", std::nullopt},
      {"100%", std::nullopt},
      {"example.com/\xC3\xA4", std::nullopt},
      {std::nullopt, std::nullopt},
  };
  for (const auto& [text, expected] : cases) {
    const auto url = util().getFormatedUrl(text);
    EXPECT_EQ(url ? Text(url->absoluteString()) : std::nullopt, expected) << text.value_or("(null)");
  }
}

TEST_F(CommonUtilitiesTest, aURLIsOpenedLaterOnTheMainQueue) {
  const auto url = URL::parse("myapp://open?a=%20");
  util().openUrl(url);
  EXPECT_TRUE(host.application.openedURLs().empty());
  host.queues.runMainQueue();
  EXPECT_EQ(host.application.openedURLs(), std::vector{*url});
  EXPECT_EQ(host.log.messages(), Lines());

  host.application.setRefusesURLs(true);
  util().openUrl(url);
  EXPECT_EQ(host.log.messages(), Lines());
  host.queues.runMainQueue();
  EXPECT_EQ(host.log.messages(), Lines{"LumoraSDK-Failed to launch action:myapp://open?a=%20"});

  host.log.clear();
  util().openUrl(std::nullopt);
  EXPECT_EQ(host.log.messages(), Lines{"LumoraSDK-Failed to launch action due to NULL url"});
  EXPECT_EQ(host.queues.pendingCount(), 0U);
}

TEST_F(CommonUtilitiesTest, escapingForSQLBuildsStepUponStep) {
  const std::pair<std::string, std::string> cases[] = {
      {"", ""},
      {"plain / text", "plain / text"},
      {"it's", "it''s"},
      {"''", "''''"},
      {"/'", "/''''"},
      {"//''", "//''''''"},
      {"a\nb\n", "a b "},
      {"\r\n\t", "\r \t"},
      {"'\n/'", "'' /''''"},
  };
  for (const auto& [text, expected] : cases) EXPECT_EQ(util().formatString(text), expected) << text;

  const std::string apostrophes(1 << 20, '\'');
  EXPECT_EQ(util().formatString(apostrophes), apostrophes + apostrophes);
}

TEST_F(CommonUtilitiesTest, textsOfTheDevice) {
  host.device.languages = {"fr-CA", "en"};
  host.device.timeZone = "America/Toronto";
  host.device.nameText = "Ada's device";
  EXPECT_EQ(LMRUtil::getLocal(), "fr-CA");
  EXPECT_EQ(LMRUtil::getTimeZone(), "America/Toronto");
  EXPECT_EQ(LMRUtil::getDeviceName(), "Ada's device");
  host.settings.setObject(kLmroTestDeviceName, "");
  EXPECT_EQ(LMRUtil::getDeviceName(), "Ada's device");
  host.settings.setObject(kLmroTestDeviceName, "Tester");
  EXPECT_EQ(LMRUtil::getDeviceName(), "Tester");
  host.device.languages.clear();
  EXPECT_EQ(LMRUtil::getLocal(), "");
}

TEST_F(CommonUtilitiesTest, theTimeStampCountsMilliseconds) {
  host.clock.setNow(dateFromSeconds(1496318400.5));
  EXPECT_EQ(util().getCurrentTimeStamp(), "1496318400500.000000");
  EXPECT_EQ(host.log.messages(), Lines{"The Timestamp is = 1496318400500.000000"});
}

TEST_F(CommonUtilitiesTest, aDayBeginsInTheTimeZoneOfTheDevice) {
  constexpr std::int64_t june1 = 1496275200;  // 2017-06-01 00:00 UTC
  const struct {
    int offsetHours;
    std::string text;
    std::optional<std::int64_t> seconds;
  } cases[] = {
      {0, "2017-06-01", june1},
      {2, "2017-06-01", june1 - 7200},
      {-8, "2017-06-01", june1 + 28800},
      {14, "2017-06-01", june1 - 50400},
      {0, "1970-01-01", 0},
      {0, "1969-12-31", -86400},
      {0, "2016-02-29", 1456704000},
      {0, "2017-02-29", std::nullopt},
      {0, "2017-13-01", std::nullopt},
      {0, "2017-06-00", std::nullopt},
      {0, "2017-06-01 ", std::nullopt},
      {0, "2017-06-01T00:00:00", std::nullopt},
      {0, "2017-06", std::nullopt},
      {0, "01.06.2017", std::nullopt},
      {0, "today", std::nullopt},
      {0, "", std::nullopt},
  };
  for (const auto& test : cases) {
    host.clock.setUTCOffset(std::chrono::hours(test.offsetHours));
    const auto date = util().getUTCDateTime(test.text);
    ASSERT_EQ(date.has_value(), test.seconds.has_value()) << test.text;
    if (!date) continue;
    EXPECT_EQ(date->time_since_epoch(), std::chrono::seconds(*test.seconds)) << test.text;
  }
}

/// Eleven hours ahead of UTC until 2017-04-01 16:00 UTC (3 o'clock), ten from then on.
class SummerTimeClock : public ForwardingClock {
 public:
  using ForwardingClock::ForwardingClock;
  std::chrono::seconds utcOffset(Date date) override {
    return std::chrono::hours(secondsSince1970(date) < 1491062400 ? 11 : 10);
  }
};

TEST(SummerTimeTest, aDayBeginsWithTheOffsetOfItsMidnight) {
  testing::FakePlatform fakes;
  SummerTimeClock clock(fakes.clock);
  installPlatform({fakes.settings, fakes.keychain, fakes.urlLoader, fakes.imageDecoder, fakes.queues,
                   fakes.application, fakes.bundle, fakes.alerts, fakes.notifications, fakes.device,
                   fakes.files, clock, fakes.log, fakes.uuids});
  const std::pair<const char*, double> cases[] = {
      {"2017-04-01", 1490965200}, {"2017-04-02", 1491051600}, {"2017-04-03", 1491141600}};
  for (const auto& [text, seconds] : cases) {
    EXPECT_EQ(LMRUtil::sharedInstance().getUTCDateTime(text), dateFromSeconds(seconds)) << text;
  }
}

TEST_F(CommonUtilitiesTest, theStoryboardComesFromTheResourceBundle) {
  EXPECT_FALSE(util().getBundel());
  EXPECT_EQ(util().getStoryboard(), nullptr);
  EXPECT_EQ(host.log.messages(), Lines{"LumoraSDK-LMRResources.bundle not found !"});

  host.log.clear();
  host.bundle.setResource("LMRResources.bundle", "/host/LMRResources.bundle");
  EXPECT_EQ(util().getBundel(), "/host/LMRResources.bundle");
  EXPECT_EQ(util().getStoryboard(), nullptr);
  EXPECT_EQ(host.log.messages(), Lines{"LumoraSDK-LMRInApp Storyboard not found !"});
}

}  // namespace
}  // namespace lumora::tests
