// What the system and its variables say: the locale, the time zone and its offset.
#include <gtest/gtest.h>

#include <array>
#include <cstdlib>
#include <ctime>

#include "lumora/Platform/Linux/LinuxClock.h"
#include "lumora/Platform/Linux/LinuxDevice.h"
#include "lumora/Platform/Linux/LinuxNotifications.h"
#include "lumora/Platform/Linux/TimeZoneName.h"
#include "lumora/Testing/FakeSystemLog.h"

namespace lumora::testing {
namespace {

TEST(LinuxDeviceTest, TakesTheLocaleFromTheEnvironment) {
  // clang-format off
  const std::array<const char*, 3> cases[] = {
      {"", "", "en_US"}, {"", "de_DE.UTF-8", "de_DE"}, {"fr_CA.UTF-8", "de_DE.UTF-8", "fr_CA"}, {"", "eo", "eo"},
      {"", "sr_RS@latin", "sr_RS"}, {"C.UTF-8", "de_DE.UTF-8", "en_US"}, {"", "POSIX", "en_US"}, {"", ".UTF-8", "en_US"}};
  // clang-format on
  for (const auto& [lcAll, lang, locale] : cases) {
    ::setenv("LC_ALL", lcAll, 1);
    ::setenv("LANG", lang, 1);
    EXPECT_EQ(LinuxDevice({}).localeIdentifier(), locale) << "LC_ALL " << lcAll << ", LANG " << lang;
  }
  ::setenv("LANG", "de_DE.UTF-8", 1);
  EXPECT_EQ(LinuxDevice({}).preferredLanguages(), std::vector<std::string>{"de-DE"});
  EXPECT_GE(std::stoi(LinuxDevice({}).systemVersion()), 10);
}

TEST(LinuxNotificationsTest, AMissingSchedulerGivesOneLine) {
  FakeSystemLog log;
  LinuxNotifications notifications(nullptr, nullptr, log);
  notifications.addNotificationRequest(
      {}, [&](const auto& error) { log.write("caller: " + error.value_or("")); });
  notifications.addNotificationRequest({}, nullptr);
  notifications.scheduleLocalNotification({});
  EXPECT_EQ(log.messages(), (std::vector<std::string>{"caller: The host schedules no notifications.",
                                                      "LumoraSDK-The host schedules no notifications."}));
}

TEST(TimeZoneNameTest, ComesFromTheVariable) {
  // clang-format off
  const std::pair<const char*, const char*> cases[] = {
      {":Europe/Paris", "Europe/Paris"}, {"/usr/share/zoneinfo/America/Argentina/Ushuaia", "America/Argentina/Ushuaia"},
      {"Etc/GMT-3", "Etc/GMT-3"}, {":/usr/share/zoneinfo/posix/Asia/Tokyo", "Asia/Tokyo"}};
  // clang-format on
  for (const auto& [variable, name] : cases) {
    ::setenv("TZ", variable, 1);
    EXPECT_EQ(currentTimeZoneName(), name) << variable;
  }
  for (const char* variable :
       {"", "CET-1CEST,M3.5.0,M10.5.0/3", "<+03>-3", "/tmp/zone", "../../etc/passwd"}) {
    ::setenv("TZ", variable, 1);
    EXPECT_EQ(currentTimeZoneName(), "UTC") << variable;
  }
}

TEST(LinuxClockTest, KnowsTheTimeZonesOffsetAtEveryDate) {
  ::setenv("TZ", "EST5EDT,M3.2.0,M11.1.0", 1);
  ::tzset();
  // clang-format off
  const std::pair<double, int> cases[] = {
      {1705320000, -5}, {1721044800, -4}, {1710053999.999999, -5}, {1710054000, -4}, {-1, -5}, {-63e9, -5}, {253402300799, -5}};
  // clang-format on
  for (const auto& [seconds, hours] : cases) {
    EXPECT_EQ(LinuxClock().utcOffset(dateFromSeconds(seconds)), std::chrono::hours(hours)) << seconds;
  }
}

}  // namespace
}  // namespace lumora::testing
