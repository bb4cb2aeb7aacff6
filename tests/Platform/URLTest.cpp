#include "lumora/Platform/URL.h"

#include <gtest/gtest.h>

namespace lumora::testing {
namespace {

/// Scheme, host and query, each in brackets where there is one.
std::string partsOf(const URL& url) {
  std::string parts;
  for (const auto& part : {url.scheme(), url.host(), url.query()}) parts += part ? "[" + *part + "]" : "-";
  return parts;
}

TEST(URLTest, TakesValidTextsApart) {
  // clang-format off
  const std::pair<const char*, const char*> cases[] = {
      {"HTTP://Example.com:8080/a/b?c=d#e", "[HTTP][Example.com][c=d]"}, {"http:///path", "[http]--"},
      {"https://a@b:pw@example.com:443?q", "[https][example.com][q]"}, {"http://[::1]:80/x?y", "[http][[::1]][y]"},
      {"l.app-1+x://register?secret=a%20b&c=?", "[l.app-1+x][register][secret=a%20b&c=?]"}, {"//host/path", "-[host]-"},
      {"http://example.com?", "[http][example.com][]"}, {"http://example.com:#?x", "[http][example.com]-"},
      {"mailto:a@b.c", "[mailto]--"}, {"/path?x=1", "--[x=1]"}, {"a/b:c", "---"}, {"a#b:c", "---"}, {"?a:b", "--[a:b]"}, {"http://a/!$&'()*+,;=:@-._~%E2", "[http][a]-"}};
  // clang-format on
  for (const auto& [text, parts] : cases) {
    const auto url = URL::parse(text);
    ASSERT_TRUE(url) << text;
    EXPECT_EQ(url->absoluteString(), text);
    EXPECT_EQ(partsOf(*url), parts) << text;
  }
}

TEST(URLTest, RefusesOtherTexts) {
  EXPECT_FALSE(URL::parse(std::string("http://a/\0b", 11)));
  // clang-format off
  for (const char* text : {
      "", " ", "http://exa mple.com", "http://a/\n", "http://a/\"x\"", "http://a/<b>", "http://a/{b}", "http://a/b|c",
      "http://a/b\\c", "http://a/^`", "http://a/%", "http://a/%4", "http://a/%zz", "http://\xC3\xA4.com", "http://a:b/",
      "http://a:80x/", "http://[::1/", "http://[::1]x/", "http://a]b/", "http://a/[b]", "http://a/#b#c", "http://a/\x7F",
      "://x", "1a://x", ":", "127.0.0.1:80/x", "a_b:c"}) {
    // clang-format on
    EXPECT_FALSE(URL::parse(text)) << text;
  }
}

TEST(URLTest, EscapesWhatMayStandNowhereInAURLAndBack) {
  const std::pair<std::string, std::string> cases[] = {
      {"azAZ09-._~?&=@+/:;,!$'()*", "azAZ09-._~?&=@+/:;,!$'()*"},
      {"a b#[]100%20", "a%20b%23%5B%5D100%2520"},
      {std::string("\"<>\\^`{|}\0\x7F\xC3\xA9", 13), "%22%3C%3E%5C%5E%60%7B%7C%7D%00%7F%C3%A9"}};
  for (const auto& [text, escaped] : cases) {
    EXPECT_EQ(percentEscaped(text), escaped);
    EXPECT_EQ(percentDecoded(escaped), text);
    EXPECT_TRUE(URL::parse("http://a/" + escaped)) << text;
  }
  EXPECT_EQ(percentDecoded("\xC3\xA9%c3%a9+%25%32%30"), "\xC3\xA9\xC3\xA9+%20");
  for (const char* text : {"%", "%4", "a%4g", "%FF", "%C3", "\xFF"})
    EXPECT_EQ(percentDecoded(text), std::nullopt) << text;
}

}  // namespace
}  // namespace lumora::testing
