#include <gtest/gtest.h>

#include <cmath>
#include <compare>
#include <cstdlib>
#include <limits>
#include <string>

#include "lumora/Util/CompareVersions.h"
#include "lumora/Util/DecimalText.h"

namespace lumora::tests {
namespace {

TEST(CompareVersionsTest, goesNumberByNumber) {
  const std::string zeros(40, '0');  // Beyond every integer type.
  using Pair = std::pair<std::string, std::string>;
  const Pair equal[] = {{"", ""}, {"10.03", "10.3"}, {"1." + zeros + "7", "1.7"}};
  for (const auto& [left, right] : equal)
    EXPECT_EQ(compareVersions(left, right), std::strong_ordering::equal) << left << " and " << right;
  const Pair less[] = {
      {"9.3", "10.0"}, {"10.9", "10.10"},    {"10", "10.0"},
      {"", "1"},       {"10.0b1", "10.0b2"}, {"1.9" + zeros, "1.10" + zeros},
  };
  for (const auto& [left, right] : less) {
    EXPECT_EQ(compareVersions(left, right), std::strong_ordering::less) << left << " and " << right;
    EXPECT_EQ(compareVersions(right, left), std::strong_ordering::greater) << right << " and " << left;
  }
}

TEST(DecimalTextTest, isTheShortestThatReadsBackEqual) {
  // clang-format off
  const std::pair<Value, std::string> cases[] = {
      {-7, "-7"}, {true, "1"}, {0.0, "0"}, {1496318400.0, "1496318400"}, {0.1, "0.1"}, {-12.5, "-12.5"},
      {1e-7, "0.0000001"}, {1496318400.123, "1496318400.123"}, {std::nan(""), "0"}, {-HUGE_VAL, "0"},
      {UINT64_MAX, "18446744073709551615"}};
  // clang-format on
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
