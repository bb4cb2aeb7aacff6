#include "lumora/Platform/Value.h"

#include <gtest/gtest.h>
#include <pthread.h>

#include <cmath>
#include <tuple>

#include "lumora/Platform/JSON.h"

namespace lumora::testing {
namespace {

TEST(ValueTest, ConvertsToNumbersAsThePlatformDoes) {
  // clang-format off
  const std::tuple<Value, std::int64_t, double> cases[] = {
      {true, 1, 1}, {-1.9, -1, -1.9}, {1e300, INT64_MAX, 1e300}, {-INFINITY, INT64_MIN, -INFINITY}, {0x1p63, INT64_MAX, 0x1p63},
      {" \t\n-3.5kg", -3, -3.5}, {"+7", 7, 7}, {"1e3", 1, 1000}, {"-.5", 0, -0.5}, {UINT64_MAX, INT64_MAX, 0x1p64},
      {"99999999999999999999", INT64_MAX, 1e20}, {"-99999999999999999999", INT64_MIN, -1e20}, {Value(), 0, 0}, {"", 0, 0},
      {"abc", 0, 0}, {"0x10", 0, 0}, {"nan", 0, 0}, {"infinity", 0, 0}, {List{1}, 0, 0}, {Date(Date::duration(5)), 0, 0}};
  // clang-format on
  for (const auto& [value, integer, real] : cases) {
    EXPECT_EQ(value.integerValue(), integer) << value.description();
    EXPECT_EQ(value.doubleValue(), real) << value.description();
  }
  EXPECT_EQ(Value(std::nan("")).integerValue(), 0);
}

TEST(ValueTest, ConvertsToTruthAsThePlatformDoes) {
  for (const Value& value : List{2, 0.1, "YES", "yes", "true", "T", "1", "9", " \tY", "+0001", "-00y"})
    EXPECT_TRUE(value.boolValue()) << value.description();
  for (const Value& value : List{Value(), 0, -0.0, "0", "no", "", "000", "x1", List{1}, Dictionary{{"a", 1}}})
    EXPECT_FALSE(value.boolValue()) << value.description();
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
  const auto nestAndDestroy = [](void*) -> void* {
    const Value inner(List{1, 2});
    Value values[] = {inner, List{1, 2}, List{1, 3}};
    for (Value& value : values) {
      for (int i = 0; i < 5'000; ++i) value = List{Dictionary{{"a", MixedMap{{1, std::move(value)}}}}};
    }
    EXPECT_TRUE(values[0] == values[1] && values[0] != values[2]);
    EXPECT_LT(values[0].description().size(), 1000U);
    values[0] = Value();
    EXPECT_EQ(inner, Value(List{1, 2}));
    return nullptr;
  };
  pthread_attr_t smallStack;
  ::pthread_attr_init(&smallStack);
  ::pthread_attr_setstacksize(&smallStack, 256 << 10);
  pthread_t thread{};
  ASSERT_EQ(::pthread_create(&thread, &smallStack, nestAndDestroy, nullptr), 0);
  ::pthread_join(thread, nullptr);
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

TEST(JSONTest, WritesWhatItReads) {
  for (const std::string text :
       {"null", "true", "false", "0", "-9223372036854775808", "9223372036854775807", "9223372036854775808",
        "18446744073709551615", "0.1", "1.0", "-1.5", "5e-324", R"("\"\\\b\t\n\u0001/")",
        "\"\x7F\xC2\x80\xE0\xA0\x80\xEF\xBF\xBF\xF0\x90\x80\x80\xF4\x8F\xBF\xBF\"", "[]", "{}",
        R"([1,[],"a"])", R"({"":1,"a":{},"b":[null],"q\"":null})"}) {
    const auto value = parseJSON(text);
    ASSERT_TRUE(value) << text;
    EXPECT_EQ(writeJSON(*value), text);
    EXPECT_EQ(parseJSON(writeJSON(*value, JSONStyle::pretty).value()), value) << text;
  }
  EXPECT_EQ(writeJSON(Dictionary{{"a", List{1, 2}}, {"b", List{}}}, JSONStyle::pretty),
            "{\n  \"a\": [\n    1,\n    2\n  ],\n  \"b\": []\n}");
}

TEST(JSONTest, ReadsOtherSpellings) {
  // clang-format off
  const std::pair<const char*, Value> cases[] = {
      {" [ 1 , 2 ] ", List{1, 2}}, {R"({"b": 2, "a": 1, "b": 3})", Dictionary{{"a", 1}, {"b", 3}}}, {"-1e-7", -1e-7},
      {R"("a\u00e9\ud83d\ude00\/\u0000")", std::string("a\xC3\xA9\xF0\x9F\x98\x80/\0", 9)},
      {"9223372036854775808", 0x1p63}, {"18446744073709551616", 0x1p64}};
  // clang-format on
  for (const auto& [text, value] : cases) EXPECT_EQ(parseJSON(text), value) << text;
}

TEST(JSONTest, RefusesWhatIsNotJSON) {
  // clang-format off
  for (const std::string text : {
      "", " ", "{", "[1,]", "{\"a\":}", "{a:1}", "'a'", "01", "+1", "1.", ".5", "NaN", "Infinity", "1e400", "-1e400",
      "[1] 2", "nul", "tru e", "\"\n\"", "\"\\x\"", "// c\n1", "\"\\ud800\"", "\"a", "]", "{\"a\" 1}", "[\xFF]", "\"\x80\"",
      "\"\xC3\"", "\"\xC3(\"", "\"\xC0\x80\"", "\"\xE0\x9F\xBF\"", "\"\xED\xA0\x80\"", "\"\xEF\xBF\"",
      "\"\xF0\x8F\xBF\xBF\"", "\"\xF4\x90\x80\x80\"", "\"\xF5\x80\x80\x80\""}) {
    // clang-format on
    EXPECT_EQ(parseJSON(text), std::nullopt) << ::testing::PrintToString(text);
  }
}

TEST(JSONTest, WritesNothingForWhatJSONCannotHold) {
  // clang-format off
  for (const Value& value : List{std::nan(""), INFINITY, -INFINITY, "\xFF", "\xED\xA0\x80", Date(), Data(),
                                 *URL::parse("http://a"), Value::Opaque{"Thing", "a thing"}}) {
    // clang-format on
    for (const Value& holder : List{value, List{1, value}, Dictionary{{"a", value}}})
      EXPECT_EQ(writeJSON(holder), std::nullopt) << value.description();
  }
  EXPECT_EQ(writeJSON(Dictionary{{"\xFF", 1}}), std::nullopt);
}

TEST(JSONTest, StopsAtTheGreatestDepth) {
  const auto brackets = [](std::size_t depth) { return std::string(depth, '[') + std::string(depth, ']'); };
  EXPECT_TRUE(parseJSON(brackets(512)));
  EXPECT_TRUE(parseJSON("[" + brackets(511) + "," + brackets(511) + "]")) << "depth is what is open";
  for (const std::string& text : {brackets(513), brackets(100'000), std::string(100'000, '[')})
    EXPECT_FALSE(parseJSON(text)) << text.size();
  Value value(List{});
  for (int depth = 1; depth <= 20'000; ++depth) {
    if (depth == 512 || depth == 513 || depth == 20'000) {
      const auto text = writeJSON(value);
      EXPECT_EQ(text.has_value(), depth == 512) << depth;
      EXPECT_TRUE(!text || parseJSON(*text) == value);
    }
    value = depth % 2 == 0 ? Value(List{value}) : Value(Dictionary{{"a", value}});
  }
}

}  // namespace
}  // namespace lumora::testing
