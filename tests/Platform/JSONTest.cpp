#include "lumora/Platform/JSON.h"

#include <gtest/gtest.h>

#include <limits>
#include <string>
#include <vector>

namespace lumora::testing {
namespace {

Value nested(int depth) {
  Value value(List{});
  for (int i = 1; i < depth; ++i) value = i % 2 == 0 ? Value(List{value}) : Value(Dictionary{{"a", value}});
  return value;
}

std::string brackets(std::size_t depth) {
  return std::string(depth, '[') + std::string(depth, ']');
}

TEST(JSONTest, ReadsEveryKind) {
  const std::pair<const char*, Value> cases[] = {
      {"null", {}},
      {" true ", true},
      {"false", false},
      {"0", 0},
      {"-9223372036854775808", std::numeric_limits<std::int64_t>::min()},
      {"9223372036854775807", std::numeric_limits<std::int64_t>::max()},
      {"9223372036854775808", 9223372036854775808.0},
      {"18446744073709551616", 18446744073709551616.0},
      {"-1e-7", -1e-7},
      {"1.0", 1.0},
      {R"("a\u00e9\ud83d\ude00\n\u0000")", std::string("a\xC3\xA9\xF0\x9F\x98\x80\n\0", 9)},
      {"[]", List{}},
      {"{}", Dictionary{}},
      {R"({"b": [1, {"c": null}], "a": "x"})",
       Dictionary{{"a", "x"}, {"b", List{1, Dictionary{{"c", Value()}}}}}},
      {R"({"a": 1, "b": 2, "a": 3})", Dictionary{{"a", 3}, {"b", 2}}},
      {R"({"": 1})", Dictionary{{"", 1}}},
  };
  for (const auto& [text, value] : cases) {
    const auto parsed = parseJSON(text);
    ASSERT_TRUE(parsed) << text;
    EXPECT_EQ(*parsed, value) << text;
    EXPECT_EQ(parsed->isBoolean(), value.isBoolean()) << text;
    EXPECT_EQ(parsed->isFloatingPoint(), value.isFloatingPoint()) << text;
  }
}

TEST(JSONTest, RefusesWhatIsNotJSON) {
  const std::string cases[] = {
      "",         " ",       "{",           "[1,]",      "{\"a\":}",     "{a:1}",
      "'a'",      "01",      "+1",          "1.",        ".5",           "NaN",
      "Infinity", "1e400",   "-1e400",      "[1] 2",     "nul",          "\"\n\"",
      "\"\\x\"",  "// c\n1", "\"\\ud800\"", "\"\xC3\"",  "\"\xC0\x80\"", "\"\xED\xA0\x80\"",
      "[\xFF]",   "\"a",     "]",           "{\"a\" 1}", "tru e",        "\"\xF4\x90\x80\x80\""};
  for (const std::string& text : cases) EXPECT_EQ(parseJSON(text), std::nullopt) << text;
}

TEST(JSONTest, WritesEveryKind) {
  const std::pair<Value, const char*> cases[] = {
      {{}, "null"},
      {true, "true"},
      {'a', "97"},
      {-5, "-5"},
      {std::numeric_limits<std::int64_t>::min(), "-9223372036854775808"},
      {0.1, "0.1"},
      {1.0, "1.0"},
      {"plain", R"("plain")"},
      {"\"\\\b\t\n\x01/", R"("\"\\\b\t\n\u0001/")"},
      {"\xC3\xA9", "\"\xC3\xA9\""},
      {List{1, List{}, "a"}, R"([1,[],"a"])"},
      {Dictionary{{"b", 1}, {"a", Dictionary{}}, {"q\"", Value()}}, R"({"a":{},"b":1,"q\"":null})"},
  };
  for (const auto& [value, text] : cases) EXPECT_EQ(writeJSON(value), text) << value.description();
  EXPECT_EQ(writeJSON(Dictionary{{"a", List{1, 2}}, {"b", List{}}}, JSONStyle::pretty),
            "{\n  \"a\": [\n    1,\n    2\n  ],\n  \"b\": []\n}");
}

TEST(JSONTest, WritesNothingForWhatJSONCannotHold) {
  const Value cases[] = {
      std::numeric_limits<double>::quiet_NaN(),
      std::numeric_limits<double>::infinity(),
      -std::numeric_limits<float>::infinity(),
      "\xFF",
      "\xED\xA0\x80",
      Date{},
      Data{1},
      *URL::parse("http://a"),
      Value::Opaque{"Thing", "a thing"},
  };
  for (const Value& value : cases) {
    EXPECT_EQ(writeJSON(value), std::nullopt) << value.kindName();
    EXPECT_EQ(writeJSON(List{1, value}), std::nullopt) << value.kindName();
    EXPECT_EQ(writeJSON(Dictionary{{"a", value}}), std::nullopt) << value.kindName();
  }
  EXPECT_EQ(writeJSON(Dictionary{{"\xFF", 1}}), std::nullopt);
}

TEST(JSONTest, ReadsBackWhatItWrote) {
  std::string everyCharacter;
  for (char c = 0; c < 127; ++c) everyCharacter += c;
  const Value values[] = {
      everyCharacter,
      "\xC2\x80\xE0\xA0\x80\xEF\xBF\xBF\xF0\x90\x80\x80\xF4\x8F\xBF\xBF",
      std::numeric_limits<double>::max(),
      std::numeric_limits<double>::denorm_min(),
      0.1 + 0.2,
      123456789.123456789,
      List{1, 2.5, Value(), Dictionary{{"", List{true}}}},
  };
  for (const Value& value : values) {
    for (const JSONStyle style : {JSONStyle::compact, JSONStyle::pretty}) {
      const auto text = writeJSON(value, style);
      ASSERT_TRUE(text) << value.description();
      EXPECT_EQ(parseJSON(*text), value) << *text;
    }
  }
}

TEST(JSONTest, StopsAtTheGreatestDepth) {
  EXPECT_TRUE(parseJSON(brackets(512)));
  EXPECT_FALSE(parseJSON(brackets(513)));
  EXPECT_FALSE(parseJSON(brackets(100'000)));
  EXPECT_FALSE(parseJSON(std::string(100'000, '[')));
  EXPECT_TRUE(writeJSON(nested(512)));
  EXPECT_FALSE(writeJSON(nested(513)));
  EXPECT_FALSE(writeJSON(nested(100'000)));
  EXPECT_EQ(parseJSON(*writeJSON(nested(512))), nested(512));
  // Depth counts what is open, not what there was.
  EXPECT_TRUE(parseJSON("[" + brackets(511) + "," + brackets(511) + "]"));
}

TEST(JSONTest, TellsUTF8) {
  const std::pair<std::string, bool> cases[] = {
      {"", true},
      {std::string("\0", 1), true},
      {"\x7F", true},
      {"\x80", false},
      {"\xC1\xBF", false},
      {"\xC2\x80", true},
      {"\xC2", false},
      {"\xE0\x9F\xBF", false},
      {"\xE0\xA0\x80", true},
      {"\xED\x9F\xBF", true},
      {"\xED\xA0\x80", false},
      {"\xEE\x80\x80", true},
      {"\xEF\xBF", false},
      {"\xF0\x8F\xBF\xBF", false},
      {"\xF0\x90\x80\x80", true},
      {"\xF4\x8F\xBF\xBF", true},
      {"\xF4\x90\x80\x80", false},
      {"\xF5\x80\x80\x80", false},
      {"a\xC3(", false},
  };
  for (const auto& [text, isValid] : cases)
    EXPECT_EQ(isUTF8(text), isValid) << ::testing::PrintToString(text);
}

}  // namespace
}  // namespace lumora::testing
