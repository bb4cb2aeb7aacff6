#include "lumora/Platform/Device.h"

#include <gtest/gtest.h>
#include <sys/utsname.h>

#include <cstdlib>

#include "lumora/Platform/Linux/LinuxDevice.h"
#include "lumora/Platform/Linux/TimeZoneName.h"
#include "lumora/Testing/FakeDevice.h"

namespace lumora::testing {
namespace {

struct PlainLinuxDevice : LinuxDevice {
  PlainLinuxDevice() : LinuxDevice({}) {}
};

template <typename Implementation>
class DeviceTest : public ::testing::Test {
 protected:
  Implementation device;
};

using Devices = ::testing::Types<FakeDevice, PlainLinuxDevice>;
TYPED_TEST_SUITE(DeviceTest, Devices);

TYPED_TEST(DeviceTest, AnswersEverything) {
  EXPECT_NE(this->device.model(), "");
  EXPECT_NE(this->device.systemVersion(), "");
  EXPECT_NE(this->device.name(), "");
  EXPECT_NE(this->device.localeIdentifier(), "");
  EXPECT_NE(this->device.timeZoneName(), "");
  EXPECT_NE(this->device.machineIdentifier(), "");
  ASSERT_FALSE(this->device.preferredLanguages().empty());
  EXPECT_NE(this->device.preferredLanguages().front(), "");
  EXPECT_EQ(this->device.carrierName(), std::nullopt);
}

TEST(LinuxDeviceTest, AnswersAsTheHostDescribesIt) {
  LinuxDevice device({.model = "iPad",
                      .systemVersion = "9.1",
                      .name = "",
                      .localeIdentifier = "fr_FR",
                      .preferredLanguages = {"fr-FR", "en-GB"},
                      .carrierName = "Carrier",
                      .machineIdentifier = "iPad4,1"});
  EXPECT_EQ(device.model(), "iPad");
  EXPECT_EQ(device.systemVersion(), "9.1");
  EXPECT_EQ(device.name(), "");
  EXPECT_EQ(device.localeIdentifier(), "fr_FR");
  EXPECT_EQ(device.preferredLanguages(), (std::vector<std::string>{"fr-FR", "en-GB"}));
  EXPECT_EQ(device.carrierName(), "Carrier");
  EXPECT_EQ(device.machineIdentifier(), "iPad4,1");
}

TEST(LinuxDeviceTest, AsksTheSystemForTheRest) {
  utsname names{};
  ASSERT_EQ(::uname(&names), 0);
  PlainLinuxDevice device;
  EXPECT_EQ(device.model(), "Linux");
  EXPECT_EQ(device.systemVersion(), names.release);
  EXPECT_EQ(device.name(), names.nodename);
  EXPECT_EQ(device.machineIdentifier(), names.machine);
}

void setOrUnset(const char* variable, const char* value) {
  if (value) {
    ::setenv(variable, value, 1);
  } else {
    ::unsetenv(variable);
  }
}

TEST(LinuxDeviceTest, TakesTheLocaleFromTheEnvironment) {
  struct Case {
    const char* lcAll;
    const char* lang;
    const char* locale;
    const char* language;
  };
  const Case cases[] = {
      {nullptr, nullptr, "en_US", "en-US"},
      {nullptr, "de_DE.UTF-8", "de_DE", "de-DE"},
      {"fr_CA.UTF-8", "de_DE.UTF-8", "fr_CA", "fr-CA"},
      {"", "sr_RS@latin", "sr_RS", "sr-RS"},
      {"C", "de_DE.UTF-8", "en_US", "en-US"},
      {"C.UTF-8", nullptr, "en_US", "en-US"},
      {nullptr, "POSIX", "en_US", "en-US"},
      {nullptr, ".UTF-8", "en_US", "en-US"},
      {nullptr, "eo", "eo", "eo"},
  };
  for (const Case& c : cases) {
    setOrUnset("LC_ALL", c.lcAll);
    setOrUnset("LANG", c.lang);
    PlainLinuxDevice device;
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
      {"UTC", "UTC"},
      {"", "UTC"},
      {"CET-1CEST,M3.5.0,M10.5.0/3", "UTC"},
      {"<+03>-3", "UTC"},
      {"/tmp/zone", "UTC"},
      {"../../etc/passwd", "UTC"},
  };
  for (const auto& [variable, name] : cases) {
    ::setenv("TZ", variable, 1);
    EXPECT_EQ(currentTimeZoneName(), name) << variable;
  }
}

}  // namespace
}  // namespace lumora::testing
