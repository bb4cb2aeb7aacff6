#include "lumora/Platform/URL.h"

#include <gtest/gtest.h>

#include <string>

namespace lumora::testing {
namespace {

using Text = std::optional<std::string>;

TEST(URLTest, TakesValidTextsApart) {
  struct Case {
    const char* text;
    Text scheme;
    Text host;
    Text query;
  };
  const Case cases[] = {
      {"http://example.com", "http", "example.com", {}},
      {"HTTP://Example.com:8080/a/b?c=d#e", "HTTP", "Example.com", "c=d"},
      {"https://user:pw@example.com:443?q", "https", "example.com", "q"},
      {"https://a@b@example.com/", "https", "example.com", {}},
      {"lumora.app-1+x://register?secret=a%20b&c=?", "lumora.app-1+x", "register", "secret=a%20b&c=?"},
      {"http://[::1]:80/x?y", "http", "[::1]", "y"},
      {"http://", "http", {}, {}},
      {"http:///path", "http", {}, {}},
      {"http://example.com?", "http", "example.com", ""},
      {"http://example.com#?x", "http", "example.com", {}},
      {"http://example.com:", "http", "example.com", {}},
      {"mailto:a@b.c", "mailto", {}, {}},
      {"tel:+1-2", "tel", {}, {}},
      {"//host/path", {}, "host", {}},
      {"/path?x=1", {}, {}, "x=1"},
      {"relative", {}, {}, {}},
      {"1http://x", {}, {}, {}},
      {"?q", {}, {}, "q"},
      {"http://a/%E2%9C%93", "http", "a", {}},
      {"http://a/!$&'()*+,;=:@-._~", "http", "a", {}},
  };
  for (const Case& c : cases) {
    const auto url = URL::parse(c.text);
    ASSERT_TRUE(url) << c.text;
    EXPECT_EQ(url->absoluteString(), c.text);
    EXPECT_EQ(url->scheme(), c.scheme) << c.text;
    EXPECT_EQ(url->host(), c.host) << c.text;
    EXPECT_EQ(url->query(), c.query) << c.text;
  }
}

TEST(URLTest, RefusesOtherTexts) {
  const std::string cases[] = {
      "",
      " ",
      "http://exa mple.com",
      "http://example.com/\n",
      std::string("http://a/\0b", 11),
      "http://a/\"x\"",
      "http://a/<b>",
      "http://a/{b}",
      "http://a/b|c",
      "http://a/b\\c",
      "http://a/^`",
      "http://a/%",
      "http://a/%4",
      "http://a/%zz",
      "http://ex\xC3\xA4mple.com",
      "http://a:b/",
      "http://a:80x/",
      "http://[::1/",
      "http://[::1]x/",
      "http://a]b/",
      "http://a/[b]",
      "http://a/?q=[1]",
      "http://a/#b#c",
      "http://a/\x7F",
  };
  for (const std::string& text : cases) EXPECT_FALSE(URL::parse(text)) << text;
}

TEST(URLTest, EscapesWhatMayStandNowhereInAURL) {
  const std::pair<std::string, std::string> cases[] = {
      {"", ""},
      {"azAZ09-._~", "azAZ09-._~"},
      {"a b", "a%20b"},
      {"?&=@+/:;,!$'()*", "?&=@+/:;,!$'()*"},
      {"100%", "100%25"},
      {"%20", "%2520"},
      {"#[]", "%23%5B%5D"},
      {"\"<>\\^`{|}", "%22%3C%3E%5C%5E%60%7B%7C%7D"},
      {"\xC3\xA9", "%C3%A9"},
      {std::string("\0\x7F\xFF", 3), "%00%7F%FF"},
  };
  for (const auto& [text, escaped] : cases) {
    EXPECT_EQ(percentEscaped(text), escaped) << text;
    EXPECT_TRUE(URL::parse("http://a/" + escaped)) << text;
  }
}

TEST(URLTest, DecodesEscapes) {
  const std::pair<std::string, Text> cases[] = {
      {"", ""},
      {"plain+text", "plain+text"},
      {"a%20b%2Fc", "a b/c"},
      {"%c3%A9", "\xC3\xA9"},
      {"%25%32%30", "%20"},
      {"%00", std::string(1, '\0')},
      {"%", {}},
      {"%4", {}},
      {"a%4g", {}},
      {"%FF", {}},
      {"%C3", {}},
      {"\xC3\xA9", "\xC3\xA9"},
      {"\xFF", {}},
  };
  for (const auto& [text, decoded] : cases) EXPECT_EQ(percentDecoded(text), decoded) << text;
}

}  // namespace
}  // namespace lumora::testing
