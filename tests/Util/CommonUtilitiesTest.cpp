#include <gtest/gtest.h>

#include <chrono>
#include <cmath>
#include <cstdlib>
#include <ctime>
#include <limits>
#include <map>
#include <tuple>

#include "lumora/Platform/JSON.h"
#include "lumora/Testing/FakePlatform.h"
#include "lumora/Util/CompareVersions.h"
#include "lumora/Util/DecimalText.h"
#include "lumora/Util/LMRSettingsKeys.h"
#include "lumora/Util/LMRUtil.h"
#include "lumora/Util/RunOnMainQueue.h"

namespace lumora::tests {
namespace {

class CommonUtilitiesTest : public ::testing::Test {
 protected:
  static const LMRUtil& util() { return LMRUtil::sharedInstance(); }

  testing::FakePlatform& host = testing::FakePlatform::install();
};

TEST_F(CommonUtilitiesTest, emailAddressesAreCheckedInLinearTime) {
  const auto repeated = [](std::string_view part) {
    std::string text;
    while (text.size() < (1U << 20)) text += part;
    return text;
  };
  // clang-format off
  const std::vector<std::string> good{
      "ada@example.com", "a@b.co", "a@b.c.d.museum", "a b@c.de", " @c.de", "a@b@c.de", "@@c.de", "a@x.y@c.de",
      "\xC3\xA4\xF0\x9F\x98\x80@c.de", "a@-.de", "a@1-2.3.de", repeated("a") + "@c.de", repeated("@") + "c.de",
      "a@" + repeated("b.") + "de", "a@c." + repeated("d")};
  const std::vector<std::string> bad{
      "", "@", "ada", "@c.de", "a@", "a@de", "a@.de", "a@c..de", "a@c.d", "a@c.de.", "a@c.d1", "a@c.1de", "a@c.d-e", "a@c_d.de",
      "a@c d.de", "a@c.de ", "a@c.de\n", "a@c.de@", "a\n@c.de", "a\r@c.de", "a\v@c.de", "a\f@c.de", "a\xC2\x85@c.de",
      "a\xE2\x80\xA8@c.de", "a\xE2\x80\xA9@c.de", "a@\xC3\xA4.de", "a@c.d\xC3\xA4", {"a@c.de\0", 7}, repeated("a@b."),
      "a@" + repeated("b.") + "1", "a@" + repeated("."), repeated("a"), repeated("a\n") + "@c.de"};
  // clang-format on
  for (const auto& text : good) EXPECT_TRUE(util().isValidEmail(text)) << text.substr(0, 40);
  for (const auto& text : bad) EXPECT_FALSE(util().isValidEmail(text)) << text.substr(0, 40);
}

TEST_F(CommonUtilitiesTest, escapingForSQLBuildsStepUponStep) {
  EXPECT_EQ(util().formatString("//'' \r\n\t '\n/'"), "//'''''' \r \t '' /''''");
  const std::string apostrophes(1 << 20, '\'');
  EXPECT_TRUE(util().formatString(apostrophes) == apostrophes + apostrophes);
}

TEST(LocalDayTest, aDayBeginsWithItsFirstMoment) {
  const auto day = [](const char* text) { return LMRUtil::sharedInstance().getUTCDateTime(text); };
  // clang-format off
  const std::pair<const char*, std::map<const char*, double>> zones[] = {
      {"AEST-10AEDT,M10.1.0,M4.1.0/3", {{"2017-04-01", 1490965200}, {"2017-04-02", 1491051600}, {"2017-04-03", 1491141600}, {"2016-02-29", 1456664400}}},
      // From 24 to 1 o'clock: the second day has no midnight. From 24 to 23 o'clock.
      {"BRT3BRST,M11.1.0/0,M2.3.0/0", {{"2018-11-03", 1541214000}, {"2018-11-04", 1541300400}, {"2018-11-05", 1541383200},
                                       {"2018-02-17", 1518832800}, {"2018-02-18", 1518922800}, {"2018-02-19", 1519009200}}},
      // From 1 to 0 o'clock, which is midnight twice.
      {"CST5CDT,M3.2.0/0,M11.1.0/1", {{"2018-11-03", 1541217600}, {"2018-11-04", 1541304000}, {"2018-11-05", 1541394000}}}};
  for (const auto& [zone, days] : zones) {
    ::setenv("TZ", zone, 1);
    ::tzset();
    for (const auto& [text, seconds] : days) EXPECT_EQ(day(text), dateFromSeconds(seconds)) << text;
  }
  for (const char* text : {"2017-02-29", "2017-13-01", "2017-06-00", "2017-06-01 ", "2017-06-01T00:00:00", "2017-06", "01.06.2017",
                           "today", "", "+2017-06-01", "-2017-06-01", " 2017-06-01", "2017-+6-01", "2017--6-01"})
    EXPECT_FALSE(day(text)) << text;
  // clang-format on
}

TEST_F(CommonUtilitiesTest, theDeviceState) {
  LMRUtil::deviceState();  // It is built afresh every time.
  host.device.modelText = "iPod touch";
  host.device.systemVersionText = "9.3.5";
  host.device.locale = "fr_CA";
  host.device.carrier = "Carrier";
  host.device.languages.clear();
  host.settings.setObject(kLmroNewUser, true);
  EXPECT_EQ(writeJSON(LMRUtil::deviceState()),
            R"({"hardware":{"screen":{"device_type":"iPod","screen-size":"iPod touch"}},)"
            R"("manufacturer":"Apple","model":"iPod touch",)"
            R"("network_info":{"network_operator":"Carrier"},"new_install":true,)"
            R"("software":{"language":"","locale":"fr_CA","sdk":"9.3.5"}})");
}

TEST_F(CommonUtilitiesTest, theFamilyIsAPrefixOfTheModelAndMachinesHaveNames) {
  // clang-format off
  const std::tuple<const char*, const char*, const char*> cases[] = {
      {"iPhone Simulator", "iPhone", "iPhone Simulator"}, {"iPadiPod", "iPad", "iPadiPod"}, {"ipad", "unknown", "ipad"},
      {"My iPad", "unknown", "My iPad"}, {"", "unknown", ""}, {"i386", "unknown", "iPhone Simulator"},
      {"iPhone5,1", "iPhone", "iPhone 5(GSM)"}, {"iPod5,1", "iPod", "iPod 5th Gen"}, {"iPhone8,1", "iPhone", "iPhone8,1"}};
  // clang-format on
  for (const auto& [text, type, name] : cases) {
    host.device.modelText = host.device.machine = text;
    EXPECT_EQ(LMRUtil::deviceType(), type) << text;
    EXPECT_EQ(LMRUtil::deviceModelName(), name) << text;
  }
}

TEST_F(CommonUtilitiesTest, workForTheMainThreadRunsAtOnceOnItAndInTurnFromAnother) {
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

TEST(CompareVersionsTest, goesNumberByNumber) {
  const std::string zeros(40, '0');  // Beyond every integer type.
  using Pair = std::pair<std::string, std::string>;
  const Pair equal[] = {{"", ""}, {"10.03", "10.3"}, {"1." + zeros + "7", "1.7"}};
  for (const auto& [left, right] : equal)
    EXPECT_EQ(compareVersions(left, right), std::strong_ordering::equal) << left << " and " << right;
  const Pair less[] = {{"9.3", "10.0"}, {"10.9", "10.10"},    {"10", "10.0"},
                       {"", "1"},       {"10.0b1", "10.0b2"}, {"1.9" + zeros, "1.10" + zeros}};
  for (const auto& [left, right] : less) {
    EXPECT_EQ(compareVersions(left, right), std::strong_ordering::less) << left << " and " << right;
    EXPECT_EQ(compareVersions(right, left), std::strong_ordering::greater) << right << " and " << left;
  }
}

TEST(DecimalTextTest, isTheShortestThatReadsBackEqual) {
  // clang-format off
  const std::pair<Value, std::string> cases[] = {
      {-7, "-7"}, {true, "1"}, {0.0, "0"}, {1496318400.0, "1496318400"}, {0.1, "0.1"}, {-12.5, "-12.5"},
      {1e-7, "0.0000001"}, {1496318400.123, "1496318400.123"}, {std::nan(""), "0"}, {-HUGE_VAL, "0"},
      {UINT64_MAX, "18446744073709551615"}};
  // clang-format on
  for (const auto& [number, text] : cases) EXPECT_EQ(decimalText(number), text) << number.description();
  for (const double extreme :
       {std::numeric_limits<double>::max(), std::numeric_limits<double>::denorm_min()}) {
    const std::string text = decimalText(extreme);
    EXPECT_EQ(text.find('e'), std::string::npos) << text;
    EXPECT_EQ(std::strtod(text.c_str(), nullptr), extreme) << text;
  }
}

}  // namespace
}  // namespace lumora::tests
