#include "lumora/Platform/Value.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

namespace lumora::testing {
namespace {

constexpr std::int64_t kMax = std::numeric_limits<std::int64_t>::max();
constexpr std::int64_t kMin = std::numeric_limits<std::int64_t>::min();

TEST(ValueTest, RemembersItsKind) {
  using Kind = Value::Kind;
  using Number = Value::NumberKind;
  struct Case {
    Value value;
    Kind kind;
    std::optional<Number> number;
  };
  const Case cases[] = {
      {{}, Kind::null, {}},
      {nullptr, Kind::null, {}},
      {std::optional<std::string>(), Kind::null, {}},
      {true, Kind::number, Number::boolean},
      {'a', Kind::number, Number::character},
      {short{1}, Kind::number, Number::shortInteger},
      {1, Kind::number, Number::integer},
      {1L, Kind::number, Number::longInteger},
      {1LL, Kind::number, Number::longLong},
      {1.0F, Kind::number, Number::floating},
      {1.0, Kind::number, Number::doubleFloating},
      {"", Kind::string, {}},
      {std::optional<std::string>("x"), Kind::string, {}},
      {Data{}, Kind::data, {}},
      {Date{}, Kind::date, {}},
      {*URL::parse("a"), Kind::url, {}},
      {List{}, Kind::list, {}},
      {Dictionary{}, Kind::map, {}},
      {Value::Opaque{"Thing", "a thing"}, Kind::opaque, {}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.value.kindName() + " " + c.value.description());
    EXPECT_EQ(c.value.kind(), c.kind);
    EXPECT_EQ(c.value.numberKind(), c.number);
    EXPECT_EQ(c.value.isNull(), c.kind == Kind::null);
    const Value moved = Value(c.value);
    EXPECT_EQ(moved, c.value);
    for (const Case& other : cases) {
      if (other.kind != c.kind) {
        EXPECT_NE(other.value, c.value);
      }
    }
  }
}

TEST(ValueTest, ConvertsToNumbersAsThePlatformDoes) {
  const double infinity = std::numeric_limits<double>::infinity();
  struct Case {
    Value value;
    std::int64_t integer;
    double real;
  };
  const Case cases[] = {
      {{}, 0, 0},
      {true, 1, 1},
      {-1.9, -1, -1.9},
      {1e300, kMax, 1e300},
      {-1e300, kMin, -1e300},
      {9223372036854775808.0, kMax, 9223372036854775808.0},
      {kMax, kMax, 9223372036854775808.0},
      {infinity, kMax, infinity},
      {"12", 12, 12},
      {" \t\n-3.5kg", -3, -3.5},
      {"+7", 7, 7},
      {"+-7", -7, -7},
      {"0x10", 0, 0},
      {"1e3", 1, 1000},
      {".5", 0, 0.5},
      {"-.5", 0, -0.5},
      {"", 0, 0},
      {"abc", 0, 0},
      {"nan", 0, 0},
      {"infinity", 0, 0},
      {"99999999999999999999", kMax, 1e20},
      {"-99999999999999999999", kMin, -1e20},
      {List{1}, 0, 0},
      {Date(std::chrono::seconds(5)), 0, 0},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(c.value.integerValue(), c.integer) << c.value.description();
    EXPECT_EQ(c.value.doubleValue(), c.real) << c.value.description();
  }
  EXPECT_EQ(Value(std::nan("")).integerValue(), 0);
}

TEST(ValueTest, ConvertsToTruthAsThePlatformDoes) {
  const std::pair<Value, bool> cases[] = {
      {{}, false},     {0, false},       {2, true},
      {-0.0, false},   {0.1, true},      {"YES", true},
      {"yes", true},   {"true", true},   {"T", true},
      {"1", true},     {"9", true},      {"0", false},
      {"no", false},   {"", false},      {" \tY", true},
      {"+0001", true}, {"-00y", true},   {"000", false},
      {"x1", false},   {List{1}, false}, {Dictionary{{"a", 1}}, false},
  };
  for (const auto& [value, truth] : cases) EXPECT_EQ(value.boolValue(), truth) << value.description();
}

TEST(ValueTest, NumbersAreEqualByWhatTheyCount) {
  EXPECT_EQ(Value(1), Value(1LL));
  EXPECT_EQ(Value(true), Value(1.0));
  EXPECT_EQ(Value(0.0), Value(-0.0));
  EXPECT_NE(Value(kMax), Value(kMax - 1));
  EXPECT_NE(Value(std::nan("")), Value(std::nan("")));
  EXPECT_NE(Value(1), Value("1"));
  EXPECT_EQ(Value(List{1, "a"}), Value(List{1.0, "a"}));
  EXPECT_NE(Value(Dictionary{{"a", 1}}), Value(Dictionary{{"b", 1}}));
}

TEST(ValueTest, DescribesItselfForLogLines) {
  const std::pair<Value, const char*> cases[] = {
      {{}, "<null>"},
      {12, "12"},
      {12.5, "12.5"},
      {0.1F, "0.1"},
      {"text", "text"},
      {*URL::parse("http://a/b"), "http://a/b"},
      {List{1, "two", Value()}, "(1, two, <null>)"},
      {Dictionary{{"b", 2}, {"a", List{}}}, "{a = (), b = 2}"},
      {Data{0x0A, 0xFF}, "<0aff>"},
      {Value::Opaque{"Thing", "a thing"}, "a thing"},
  };
  for (const auto& [value, text] : cases) EXPECT_EQ(value.description(), text);
}

TEST(ValueTest, DatesAndSecondsConvertBothWays) {
  for (const double seconds : {0.0, 1.5, -1.5, 1500000000.123456, -62135596800.0}) {
    EXPECT_EQ(secondsSince1970(dateFromSeconds(seconds)), seconds);
  }
  EXPECT_EQ(dateFromSeconds(1e300), Date::max());
  EXPECT_EQ(dateFromSeconds(-1e300), Date::min());
}

TEST(ValueTest, FindsOnlyWhatIsNotNull) {
  const Dictionary map{{"value", 1}, {"null", Value()}};
  ASSERT_NE(findValue(map, "value"), nullptr);
  EXPECT_EQ(*findValue(map, "value"), Value(1));
  EXPECT_EQ(findValue(map, "null"), nullptr);
  EXPECT_EQ(findValue(map, "missing"), nullptr);
}

TEST(ValueTest, DepthNeverOverflowsTheStack) {
  for (const bool isMap : {false, true}) {
    Value value(1);
    for (int i = 0; i < 100'000; ++i) {
      value = isMap ? Value(Dictionary{{"a", std::move(value)}}) : Value(List{std::move(value)});
    }
    const Value shared = value;
    value = Value();
    EXPECT_FALSE(shared.isNull());
  }
}

TEST(ValueTest, SharedContentSurvivesItsFirstHolder) {
  Value inner(List{1, 2});
  Value outer(List{inner, Dictionary{{"a", inner}}});
  outer = Value();
  EXPECT_EQ(inner, Value(List{1, 2}));
}

}  // namespace
}  // namespace lumora::testing
