#include "lumora/Testing/FakePlatform.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace lumora::testing {
namespace {

TEST(FakePlatformTest, InstallsItselfAsTheLibrarysPlatform) {
  FakePlatform& host = FakePlatform::install();
  EXPECT_EQ(&platform().settings, &host.settings);
  EXPECT_EQ(&platform().clock, &host.clock);
  EXPECT_EQ(&platform().queues, &host.queues);
  EXPECT_EQ(&platform().log, &host.log);
}

TEST(FakePlatformTest, ItsFilesGoWithIt) {
  std::string folder;
  {
    FakePlatform host;
    folder = host.files.documentsDirectory();
    EXPECT_TRUE(std::filesystem::exists(folder));
  }
  EXPECT_FALSE(std::filesystem::exists(folder));
}

}  // namespace
}  // namespace lumora::testing
