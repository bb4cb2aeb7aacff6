#include <gtest/gtest.h>

#include <set>

#include "lumora/Platform/Linux/LinuxUUIDSource.h"

namespace lumora::testing {
namespace {

TEST(LinuxUUIDSourceTest, MakesDistinctUpperCaseVersion4UUIDs) {
  LinuxUUIDSource source;
  std::set<std::string> seen;
  for (int i = 0; i < 1000; ++i) {
    const std::string uuid = source.randomUUID();
    EXPECT_TRUE(seen.insert(uuid).second) << uuid;
    std::string shape = uuid;
    for (char& c : shape) c = std::string_view("0123456789ABCDEF").find(c) != std::string::npos ? 'x' : c;
    EXPECT_EQ(shape, "xxxxxxxx-xxxx-xxxx-xxxx-xxxxxxxxxxxx") << uuid;
    EXPECT_EQ(uuid.at(14), '4') << uuid;
    EXPECT_NE(std::string_view("89AB").find(uuid.at(19)), std::string::npos) << uuid;
  }
}

}  // namespace
}  // namespace lumora::testing
