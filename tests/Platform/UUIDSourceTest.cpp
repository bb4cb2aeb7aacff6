#include "lumora/Platform/UUIDSource.h"

#include <gtest/gtest.h>

#include <set>

#include "lumora/Platform/Linux/LinuxUUIDSource.h"
#include "lumora/Testing/FakeUUIDSource.h"

namespace lumora::testing {
namespace {

template <typename Implementation>
class UUIDSourceTest : public ::testing::Test {
 protected:
  Implementation source;
};

using Sources = ::testing::Types<FakeUUIDSource, LinuxUUIDSource>;
TYPED_TEST_SUITE(UUIDSourceTest, Sources);

/// Every character replaced by what it may be: a digit, the version or the variant.
std::string shapeOf(std::string uuid) {
  constexpr std::string_view digits = "0123456789ABCDEF";
  constexpr std::string_view variants = "89AB";
  for (std::size_t i = 0; i < uuid.size(); ++i) {
    if (i == 19 && variants.find(uuid[i]) != std::string_view::npos) {
      uuid[i] = 'V';
    } else if (i != 14 && digits.find(uuid[i]) != std::string_view::npos) {
      uuid[i] = 'x';
    }
  }
  return uuid;
}

TYPED_TEST(UUIDSourceTest, MakesDistinctUpperCaseVersion4UUIDs) {
  std::set<std::string> seen;
  for (int i = 0; i < 1000; ++i) {
    const std::string uuid = this->source.randomUUID();
    EXPECT_EQ(shapeOf(uuid), "xxxxxxxx-xxxx-4xxx-Vxxx-xxxxxxxxxxxx") << uuid;
    EXPECT_TRUE(seen.insert(uuid).second) << uuid;
  }
}

TEST(FakeUUIDSourceTest, Counts) {
  FakeUUIDSource source;
  EXPECT_EQ(source.randomUUID(), "00000000-0000-4000-8000-000000000001");
  EXPECT_EQ(source.randomUUID(), FakeUUIDSource::uuid(2));
}

}  // namespace
}  // namespace lumora::testing
