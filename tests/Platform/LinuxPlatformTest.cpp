#include "lumora/Platform/Linux/LinuxPlatform.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>

#include "tests/Support/TemporaryFolder.h"

namespace lumora::testing {
namespace {

namespace fs = std::filesystem;

TEST(LinuxPlatformTest, UsesWhatTheHostTellsIt) {
  const TemporaryFolder folder;
  std::string logged;
  LinuxPlatformOptions options;
  options.documentsDirectory = folder / "data/Documents/";
  options.cachesDirectory = folder / "data/../data/Caches";
  options.settingsFile = folder / "data/settings.json";
  options.keychainFile = folder / "keys/keychain";
  options.info = {{std::string(kBundleIdentifierKey), "com.example.host"}};
  options.localizedTexts = {{"Yes", "Oui"}};
  options.initialState = ApplicationState::background;
  options.logSink = [&](std::string_view message) { logged = message; };
  const LinuxPlatform host(options);
  const Platform& platform = host.platform();
  EXPECT_EQ(platform.files.documentsDirectory(), folder / "data/Documents");
  EXPECT_EQ(platform.files.cachesDirectory(), folder / "data/Caches");
  platform.settings.setObject("key", 1);
  EXPECT_TRUE(platform.settings.synchronize());
  EXPECT_TRUE(fs::exists(options.settingsFile));
  EXPECT_EQ(platform.keychain.add({}), KeychainStatus::success);
  EXPECT_TRUE(fs::exists(options.keychainFile));
  EXPECT_EQ(platform.bundle.infoValue(kBundleIdentifierKey), "com.example.host");
  EXPECT_EQ(platform.bundle.infoValue(kBundleVersionKey), std::nullopt);
  EXPECT_EQ(platform.bundle.localizedString("Yes") + platform.bundle.localizedString("No"), "OuiNo");
  EXPECT_EQ(platform.application.state(), ApplicationState::background);
  // What the host does not show itself comes to an end all the same.
  platform.alerts.show(
      {.tag = 1, .title = "Title", .message = {}, .buttons = {}, .textField = {}, .onButton = {}});
  EXPECT_NE(logged.find("Title"), std::string::npos) << logged;
  std::string outcome;
  platform.notifications.addNotificationRequest(
      {}, [&](const auto& error) { outcome = error.value_or("success"); });
  platform.notifications.addNotificationRequest({}, nullptr);
  platform.notifications.scheduleLocalNotification({});
  EXPECT_EQ(outcome, "The host schedules no notifications.");
}

TEST(LinuxPlatformTest, PutsItsFilesWhereTheDesktopWantsThem) {
  const TemporaryFolder folder;
  ::setenv("HOME", (folder / "home").c_str(), 1);
  ::unsetenv("XDG_CACHE_HOME");
  const std::string program = fs::read_symlink("/proc/self/exe").filename().string();
  const std::string fallback = folder / "home/.local/share";
  const std::pair<const char*, std::string> cases[] = {
      {"", fallback}, {"relative/is/ignored", fallback}, {"/elsewhere/", "/elsewhere"}};
  for (const auto& [variable, data] : cases) {
    ::setenv("XDG_DATA_HOME", variable, 1);
    const LinuxPlatform host;
    EXPECT_EQ(host.platform().files.documentsDirectory(), data + "/" + program + "/Documents") << variable;
    EXPECT_EQ(host.platform().files.cachesDirectory(), folder / ("home/.cache/" + program)) << variable;
  }
  EXPECT_FALSE(fs::exists(folder / "home")) << "nothing is written before it is needed";
}

}  // namespace
}  // namespace lumora::testing
