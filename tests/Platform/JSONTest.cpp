#include "lumora/Platform/JSON.h"

#include <gtest/gtest.h>

#include <cmath>

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
    EXPECT_EQ(writeJSON(value), std::nullopt) << value.description();
    EXPECT_EQ(writeJSON(List{1, value}), std::nullopt) << value.description();
    EXPECT_EQ(writeJSON(Dictionary{{"a", value}}), std::nullopt) << value.description();
  }
  EXPECT_EQ(writeJSON(Dictionary{{"\xFF", 1}}), std::nullopt);
}

TEST(JSONTest, StopsAtTheGreatestDepth) {
  EXPECT_TRUE(parseJSON(brackets(512)));
  EXPECT_TRUE(parseJSON("[" + brackets(511) + "," + brackets(511) + "]")) << "depth is what is open";
  EXPECT_FALSE(parseJSON(brackets(513)));
  EXPECT_FALSE(parseJSON(brackets(100'000)));
  EXPECT_FALSE(parseJSON(std::string(100'000, '[')));
  EXPECT_EQ(parseJSON(writeJSON(nested(512)).value()), nested(512));
  EXPECT_FALSE(writeJSON(nested(513)));
  EXPECT_FALSE(writeJSON(nested(100'000)));
}

}  // namespace
}  // namespace lumora::testing
