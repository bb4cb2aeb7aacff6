#include "lumora/Platform/Linux/LinuxPlatform.h"

#include <gtest/gtest.h>

#include <filesystem>

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
    EXPECT_EQ(host.platform().files.cachesDirectory(), folder / "home/.cache" + program) << variable;
  }
  EXPECT_FALSE(std::filesystem::exists(folder / "home")) << "nothing is written before it is needed";
}

}  // namespace
}  // namespace lumora::testing
