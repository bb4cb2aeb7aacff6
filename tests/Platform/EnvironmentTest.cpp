// What the system and its variables say: the locale, the time zone and its offset, the folders.
#include <gtest/gtest.h>

#include <array>
#include <cstdlib>
#include <ctime>

#include "lumora/Platform/Linux/Host/LinuxClock.h"
#include "lumora/Platform/Linux/Host/LinuxDevice.h"
#include "lumora/Platform/Linux/Host/TimeZoneName.h"
#include "lumora/Platform/Linux/LinuxPlatform.h"
#include "lumora/Platform/Linux/LinuxTaskQueues.h"
#include "tests/Support/TemporaryFolder.h"

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
  LinuxDevice::Description description;
  description.carrierName = "";
  EXPECT_EQ(LinuxDevice(description).carrierName(), std::nullopt);
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

TEST(LinuxPlatformTest, PutsItsFilesWhereTheDesktopWantsThem) {
  const TemporaryFolder folder;
  ::setenv("HOME", (folder / "home").c_str(), 1);
  ::unsetenv("XDG_CACHE_HOME");
  const std::string program = "/" + std::filesystem::read_symlink("/proc/self/exe").filename().string();
  const std::string fallback = folder / "home/.local/share";
  for (const std::string variable : {"", "relative/is/ignored", "/elsewhere/"}) {
    ::setenv("XDG_DATA_HOME", variable.c_str(), 1);
    const LinuxPlatform host;
    EXPECT_EQ(host.platform().files.documentsDirectory(),
              (variable.starts_with('/') ? "/elsewhere" : fallback) + program + "/Documents")
        << variable;
    EXPECT_EQ(host.platform().files.cachesDirectory(), folder / "home/.cache" + program + "/lumora");
  }
  LinuxPlatformOptions options;
  options.documentsDirectory = options.cachesDirectory = "./relative/";
  const LinuxPlatform host(options);
  EXPECT_EQ(host.platform().files.documentsDirectory(), "/elsewhere" + program + "/relative");
  EXPECT_EQ(host.platform().files.cachesDirectory(), folder / "home/.cache" + program + "/relative");
  EXPECT_EQ(&platform().queues.mainQueue(), &LinuxPlatform::defaultInstance().mainQueue());
  EXPECT_FALSE(std::filesystem::exists(folder / "home")) << "nothing is written before it is needed";
}

/// Runs a copy of this program, which replaces its own file.
TEST(LinuxPlatformTest, AReplacedProgramKeepsItsFolders) {
  if (const char* program = std::getenv("REPLACED_PROGRAM")) {
    std::filesystem::remove(program);
    EXPECT_TRUE(LinuxPlatform().platform().files.documentsDirectory().ends_with("/replaced/Documents"));
    return;
  }
  const TemporaryFolder folder;
  std::filesystem::copy_file("/proc/self/exe", folder / "replaced");
  ::setenv("REPLACED_PROGRAM", (folder / "replaced").c_str(), 1);
  EXPECT_EQ(std::system("$REPLACED_PROGRAM --gtest_filter=LinuxPlatformTest.AReplaced*"), 0);
}

}  // namespace
}  // namespace lumora::testing
