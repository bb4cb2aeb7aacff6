#include "lumora/Platform/Value.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <functional>
#include <tuple>

namespace lumora::testing {
namespace {

TEST(ValueTest, ConvertsToNumbersAsThePlatformDoes) {
  // clang-format off
  const std::tuple<Value, std::int64_t, double> cases[] = {
      {true, 1, 1}, {-1.9, -1, -1.9}, {1e300, INT64_MAX, 1e300}, {-INFINITY, INT64_MIN, -INFINITY}, {0x1p63, INT64_MAX, 0x1p63},
      {" \t\n-3.5kg", -3, -3.5}, {"+7", 7, 7}, {"1e3", 1, 1000}, {"-.5", 0, -0.5},
      {UINT64_MAX, INT64_MAX, 0x1p64}, {"99999999999999999999", INT64_MAX, 1e20}, {"-99999999999999999999", INT64_MIN, -1e20}};
  // clang-format on
  for (const auto& [value, integer, real] : cases) {
    EXPECT_EQ(value.integerValue(), integer) << value.description();
    EXPECT_EQ(value.doubleValue(), real) << value.description();
  }
  EXPECT_EQ(Value(std::nan("")).integerValue(), 0);
  for (const Value& value :
       List{Value(), "", "abc", "0x10", "nan", "infinity", List{1}, Date(Date::duration(5))}) {
    EXPECT_EQ(value.integerValue(), 0) << value.description();
    EXPECT_EQ(value.doubleValue(), 0) << value.description();
  }
}

TEST(ValueTest, ConvertsToTruthAsThePlatformDoes) {
  for (const Value& value : List{2, 0.1, "YES", "yes", "true", "T", "1", "9", " \tY", "+0001", "-00y"}) {
    EXPECT_TRUE(value.boolValue()) << value.description();
  }
  for (const Value& value :
       List{Value(), 0, -0.0, "0", "no", "", "000", "x1", List{1}, Dictionary{{"a", 1}}}) {
    EXPECT_FALSE(value.boolValue()) << value.description();
  }
}

TEST(ValueTest, NumbersAreEqualByWhatTheyCount) {
  EXPECT_EQ(Value(1), Value(1LL));
  EXPECT_EQ(Value(List{true, 0.0}), Value(List{1.0, -0.0}));
  EXPECT_NE(Value(std::int64_t{INT64_MAX}), Value(std::int64_t{INT64_MAX - 1}));
  EXPECT_NE(Value(std::uint64_t{UINT64_MAX}), Value(-1));
  EXPECT_NE(Value(std::nan("")), Value(std::nan("")));
  EXPECT_NE(Value(1), Value("1"));
}

TEST(ValueTest, DescribesItselfForLogLines) {
  // clang-format off
  const Dictionary map{{"b", List{12, 12.5, 0.1F, "two", Value()}}, {"a", List{}}, {"c", *URL::parse("http://a/b")},
                       {"d", Data{0x0A, 0xFF}}, {"e", Value::Opaque{"Thing", "a thing"}}};
  // clang-format on
  EXPECT_EQ(Value(map).description(),
            "{a = (), b = (12, 12.5, 0.1, two, <null>), c = http://a/b, d = <0aff>, e = a thing}");
  EXPECT_EQ(Value(List{"", "", "a", ""}).description(), "(, , a, )");
}

TEST(ValueTest, DatesAndSecondsConvertBothWays) {
  for (const double seconds : {0.0, -1.5, 1500000000.123456, -62135596800.0})
    EXPECT_EQ(secondsSince1970(dateFromSeconds(seconds)), seconds);
  EXPECT_EQ(dateFromSeconds(1e300), Date::max());
  EXPECT_EQ(dateFromSeconds(-1e300), Date::min());
}

TEST(ValueTest, DepthNeverOverflowsTheStackAndSharedContentSurvives) {
  const std::function<Value(Value)> nestings[] = {[](Value inner) { return List{std::move(inner)}; },
                                                  [](Value inner) {
                                                    return Dictionary{{"a", std::move(inner)}};
                                                  },
                                                  [](Value inner) {
                                                    return MixedMap{{1, std::move(inner)}};
                                                  }};
  for (const auto& nested : nestings) {
    const Value inner(List{1, 2});
    Value value = inner;
    Value same(List{1, 2});
    Value other(List{1, 3});
    for (int i = 0; i < 100'000; ++i) {
      for (Value* each : {&value, &same, &other}) *each = nested(std::move(*each));
    }
    EXPECT_TRUE(value == same);
    EXPECT_FALSE(value == other);
    EXPECT_LT(value.description().size(), 1000U);
    value = Value();
    EXPECT_EQ(inner, Value(List{1, 2}));
  }
}

TEST(ValueTest, TakesAPartOfItselfAndLeavesTheNullMarkerBehind) {
  for (const Value& part : List{7, "a text that lies outside its string", Data{1, 2}, List{"b"},
                                Dictionary{{"c", 1}}, MixedMap{{1, 2}}, Value()}) {
    Value list(List{part, 1});
    Value map(Dictionary{{"a", part}});
    Value mixed(MixedMap{{part, 1}});
    list = list.asList()->front();
    map = map.asDictionary()->at("a");
    mixed = mixed.asMixedMap()->front().first;
    Value& same = map;
    map = std::move(same);
    const Value moved = std::move(mixed);
    EXPECT_EQ(List({list, map, moved, mixed}), List({part, part, part, Value()})) << part.description();
  }
}

}  // namespace
}  // namespace lumora::testing
