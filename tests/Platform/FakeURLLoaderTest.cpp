#include "lumora/Testing/FakeURLLoader.h"

#include <gtest/gtest.h>

#include <thread>

namespace lumora::testing {
namespace {

URLRequest request(std::string url) {
  URLRequest made;
  made.url = std::move(url);
  return made;
}

TEST(FakeURLLoaderTest, AnswersByScriptThenByHandlerThenNotAtAll) {
  FakeURLLoader loader;
  loader.enqueue(200, "first", {{"Etag", "1"}});
  loader.enqueueError(kURLErrorTimedOut);
  EXPECT_EQ(loader.load(request("a")).header("etag"), "1");
  const URLResponse second = loader.load(request("b"));
  ASSERT_TRUE(second.error);
  EXPECT_EQ(second.error->code, kURLErrorTimedOut);
  EXPECT_EQ(loader.load(request("c")).error->code, kURLErrorNotConnectedToInternet);
  loader.setHandler([](const URLRequest& asked) { return URLResponse{404, {}, asked.url, {}}; });
  EXPECT_EQ(loader.load(request("d")).body, "d");
  std::string urls;
  for (const URLRequest& asked : loader.requests()) urls += asked.url;
  EXPECT_EQ(urls, "abcd");
}

TEST(FakeURLLoaderTest, HoldsRequestsUntilTheyAreReleased) {
  FakeURLLoader loader;
  loader.setHandler([](const URLRequest&) { return URLResponse{200, {}, {}, {}}; });
  loader.hold();
  std::jthread first([&] { EXPECT_EQ(loader.load(request("a")).statusCode, 200); });
  std::jthread second([&] { EXPECT_EQ(loader.load(request("b")).statusCode, 200); });
  loader.waitForHeldRequests(2);
  EXPECT_EQ(loader.requests().size(), 2U);
  loader.release();
}

}  // namespace
}  // namespace lumora::testing
