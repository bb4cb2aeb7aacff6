#include "lumora/Platform/Linux/LinuxPlatform.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>

#include "lumora/Platform/Linux/LinuxTaskQueues.h"
#include "tests/Support/TemporaryFolder.h"

namespace lumora::testing {
namespace {

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
