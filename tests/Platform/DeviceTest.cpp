#include <gtest/gtest.h>
#include <sys/utsname.h>

#include <cstdlib>

#include "lumora/Platform/Linux/LinuxDevice.h"
#include "lumora/Platform/Linux/TimeZoneName.h"

namespace lumora::testing {
namespace {

void setOrUnset(const char* variable, const char* value) {
  if (value) {
    ::setenv(variable, value, 1);
  } else {
    ::unsetenv(variable);
  }
}

TEST(LinuxDeviceTest, AsksTheSystemForWhatTheHostDoesNotSay) {
  utsname names{};
  ASSERT_EQ(::uname(&names), 0);
  LinuxDevice plain({});
  EXPECT_EQ(plain.model(), "Linux");
  EXPECT_EQ(plain.systemVersion(), names.release);
  EXPECT_EQ(plain.name(), names.nodename);
  EXPECT_EQ(plain.machineIdentifier(), names.machine);
  LinuxDevice::Description options;
  options.name = "";
  options.preferredLanguages = {"fr-FR", "en-GB"};
  LinuxDevice described(options);
  EXPECT_EQ(described.name(), "");
  EXPECT_EQ(described.preferredLanguages(), options.preferredLanguages);
}

TEST(LinuxDeviceTest, TakesTheLocaleFromTheEnvironment) {
  struct Case {
    const char* lcAll;
    const char* lang;
    const char* locale;
    const char* language;
  };
  const Case cases[] = {{nullptr, nullptr, "en_US", "en-US"},
                        {nullptr, "de_DE.UTF-8", "de_DE", "de-DE"},
                        {"fr_CA.UTF-8", "de_DE.UTF-8", "fr_CA", "fr-CA"},
                        {"", "sr_RS@latin", "sr_RS", "sr-RS"},
                        {"C.UTF-8", "de_DE.UTF-8", "en_US", "en-US"},
                        {nullptr, "POSIX", "en_US", "en-US"},
                        {nullptr, ".UTF-8", "en_US", "en-US"},
                        {nullptr, "eo", "eo", "eo"}};
  for (const Case& c : cases) {
    setOrUnset("LC_ALL", c.lcAll);
    setOrUnset("LANG", c.lang);
    LinuxDevice device({});
    SCOPED_TRACE(std::string("LC_ALL ") + (c.lcAll ? c.lcAll : "unset") + ", LANG " +
                 (c.lang ? c.lang : "unset"));
    EXPECT_EQ(device.localeIdentifier(), c.locale);
    EXPECT_EQ(device.preferredLanguages(), std::vector<std::string>{c.language});
  }
}

TEST(TimeZoneNameTest, ComesFromTheVariable) {
  const std::pair<const char*, const char*> cases[] = {
      {"Europe/Paris", "Europe/Paris"},
      {":Europe/Paris", "Europe/Paris"},
      {"/usr/share/zoneinfo/America/Argentina/Ushuaia", "America/Argentina/Ushuaia"},
      {":/usr/share/zoneinfo/posix/Asia/Tokyo", "Asia/Tokyo"},
      {"Etc/GMT-3", "Etc/GMT-3"},
      {"", "UTC"},
      {"CET-1CEST,M3.5.0,M10.5.0/3", "UTC"},
      {"<+03>-3", "UTC"},
      {"/tmp/zone", "UTC"},
      {"../../etc/passwd", "UTC"}};
  for (const auto& [variable, name] : cases) {
    ::setenv("TZ", variable, 1);
    EXPECT_EQ(currentTimeZoneName(), name) << variable;
  }
}

}  // namespace
}  // namespace lumora::testing
