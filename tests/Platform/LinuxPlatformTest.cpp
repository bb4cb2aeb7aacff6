#include "lumora/Platform/Linux/LinuxPlatform.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>

#include "lumora/Platform/Linux/LinuxApplication.h"
#include "lumora/Platform/Linux/LinuxTaskQueues.h"
#include "tests/Support/TemporaryFolder.h"
#include "tests/Support/TestFiles.h"

namespace lumora::testing {
namespace {

namespace fs = std::filesystem;

TEST(LinuxPlatformTest, UsesWhatTheHostTellsIt) {
  const TemporaryFolder folder;
  fs::create_directory(folder / "resources");
  writeFile(folder / "resources/a.b", "");
  std::string logged;
  LinuxPlatformOptions options;
  options.documentsDirectory = folder / "data/Documents/";
  options.cachesDirectory = folder / "data/../data/Caches";
  options.settingsFile = folder / "data/settings.json";
  options.keychainFile = folder / "keys/keychain";
  options.resourcesDirectory = folder / "resources";
  options.info = {{std::string(kBundleIdentifierKey), "com.example.host"}};
  options.localizedTexts = {{"Yes", "Oui"}};
  options.model = "iPhone";
  options.initialState = ApplicationState::background;
  options.logSink = [&](std::string_view message) { logged = message; };
  LinuxPlatform host(options);
  const Platform& platform = host.platform();

  EXPECT_EQ(platform.files.documentsDirectory(), folder / "data/Documents");
  EXPECT_EQ(platform.files.cachesDirectory(), folder / "data/Caches");
  platform.settings.setObject("key", 1);
  EXPECT_TRUE(platform.settings.synchronize());
  EXPECT_TRUE(fs::exists(options.settingsFile));
  EXPECT_EQ(platform.keychain.add({}), KeychainStatus::success);
  EXPECT_TRUE(fs::exists(options.keychainFile));
  EXPECT_EQ(platform.bundle.infoValue(kBundleIdentifierKey), "com.example.host");
  EXPECT_EQ(platform.bundle.localizedString("Yes"), "Oui");
  EXPECT_EQ(platform.bundle.pathForResource("a", "b"), folder / "resources/a.b");
  EXPECT_EQ(platform.device.model(), "iPhone");
  EXPECT_EQ(platform.application.state(), ApplicationState::background);
  EXPECT_EQ(&platform.application, &host.application());
  EXPECT_EQ(&platform.queues, &host.queues());
  EXPECT_EQ(&platform.queues.mainQueue(), &host.mainQueue());
  platform.log.write("message");
  EXPECT_EQ(logged, "message");
  EXPECT_FALSE(platform.imageDecoder.isImage("no image"));
}

TEST(LinuxPlatformTest, PutsItsFilesWhereTheDesktopWantsThem) {
  const TemporaryFolder folder;
  ::setenv("HOME", (folder / "home").c_str(), 1);
  ::unsetenv("XDG_CACHE_HOME");
  const std::string program = fs::read_symlink("/proc/self/exe").filename().string();
  const std::pair<const char*, std::string> cases[] = {
      {"", folder / "home/.local/share"},
      {"relative/is/ignored", folder / "home/.local/share"},
      {"/elsewhere/", "/elsewhere"},
  };
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
