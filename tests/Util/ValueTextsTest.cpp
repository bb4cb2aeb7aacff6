#include <gtest/gtest.h>

#include <compare>
#include <cstdlib>
#include <limits>
#include <string>

#include "lumora/Util/CompareVersions.h"
#include "lumora/Util/DecimalText.h"

namespace lumora::tests {
namespace {

TEST(CompareVersionsTest, goesNumberByNumber) {
  const struct {
    std::string left;
    std::string right;
    std::strong_ordering order;
  } cases[] = {
      {"10.3", "10.3", std::strong_ordering::equal},
      {"", "", std::strong_ordering::equal},
      {"10.03", "10.3", std::strong_ordering::equal},
      {"9.3", "10.0", std::strong_ordering::less},
      {"10.9", "10.10", std::strong_ordering::less},
      {"10", "10.0", std::strong_ordering::less},
      {"10", "10.0.1", std::strong_ordering::less},
      {"", "1", std::strong_ordering::less},
      {"9.99.99", "10", std::strong_ordering::less},
      {"10.0b1", "10.0b2", std::strong_ordering::less},
      {"10.0a", "10.0b", std::strong_ordering::less},
      // Beyond every integer type.
      {"1." + std::string(40, '9'), "1.1" + std::string(40, '0'), std::strong_ordering::less},
      {"1." + std::string(40, '0') + "7", "1.7", std::strong_ordering::equal},
  };
  for (const auto& test : cases) {
    EXPECT_EQ(compareVersions(test.left, test.right), test.order) << test.left << " and " << test.right;
    EXPECT_EQ(compareVersions(test.right, test.left), 0 <=> test.order) << test.right << " and " << test.left;
  }
}

TEST(DecimalTextTest, isTheShortestThatReadsBackEqual) {
  const std::pair<Value, std::string> cases[] = {
      {0, "0"},
      {-7, "-7"},
      {std::numeric_limits<long long>::max(), "9223372036854775807"},
      {std::numeric_limits<long long>::min(), "-9223372036854775808"},
      {true, "1"},
      {0.0, "0"},
      {1496318400.0, "1496318400"},
      {1e21, "1000000000000000000000"},
      {0.1, "0.1"},
      {-12.5, "-12.5"},
      {1e-7, "0.0000001"},
      {1496318400.123, "1496318400.123"},
      {std::numeric_limits<double>::quiet_NaN(), "0"},
      {-std::numeric_limits<double>::infinity(), "0"},
  };
  for (const auto& [number, text] : cases) EXPECT_EQ(decimalText(number), text) << number.description();
  for (const double extreme :
       {std::numeric_limits<double>::max(), std::numeric_limits<double>::denorm_min()}) {
    const std::string text = decimalText(extreme);
    EXPECT_EQ(text.find('e'), std::string::npos) << text;
    EXPECT_EQ(std::strtod(text.c_str(), nullptr), extreme) << text;
  }
}

}  // namespace
}  // namespace lumora::tests
