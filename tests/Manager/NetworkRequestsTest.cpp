#include <algorithm>
#include <atomic>
#include <chrono>
#include <thread>

#include "lumora/Facade/Lumora.h"
#include "tests/Manager/NetworkManagerFixture.h"

namespace lumora::tests {
namespace {

class NetworkRequestsTest : public NetworkManagerTest {
 protected:
  NetworkRequestsTest() {
    host.urlLoader.setHandler([](const URLRequest&) { return accepted(); });
  }

  static URLResponse accepted() { return {200, {}, R"({"success":true})", std::nullopt}; }

  /// The request that the operation sends.
  URLRequest requestOf(Operation operation) {
    host.urlLoader.clearRequests();
    EXPECT_TRUE(perform(operation));
    const auto requests = host.urlLoader.requests();
    EXPECT_EQ(requests.size(), 1U);
    return requests.empty() ? URLRequest() : requests.front();
  }

  /// The headers of the request in their order, a line each.
  std::string headersOf(Operation operation) {
    std::string lines;
    for (const auto& [name, value] : requestOf(operation).headers) lines += name + ": " + value + "\n";
    return lines;
  }
};

TEST_F(NetworkRequestsTest, headersStandInTheirOrder) {
  host.device.languages = {"fr-CA", "en"};
  host.device.timeZone = "America/Toronto";
  host.bundle.setInfoValue(kBundleVersionKey, "42");
  host.bundle.setInfoValue(kBundleShortVersionKey, "2.1");
  const std::string get = "Content-type: text/plain\n";
  const std::string post = "Content-type: application/json\n";
  const std::string device = "lc: fr-CA\ntz: America/Toronto\np: ios\n";
  const std::string rest = "sdkvr: 6\nappbd: 42\nappver: 2.1\nuuid: " + testing::FakeUUIDSource::uuid(1) +
                           "\ntduuid: " + testing::FakeUUIDSource::uuid(2) + "\n";
  // The tag of this run's own answers is not what is sent back.
  host.settings.setObject(kLmroEtag, "own");
  EXPECT_EQ(headersOf(Operation::get), get + device + rest);
  host.settings.setObject("OstrelETag", "\"tag\"");
  const std::string tag = "If-None-Match: \"tag\"\n";
  EXPECT_EQ(headersOf(Operation::get), tag + get + device + rest);
  EXPECT_EQ(headersOf(Operation::post), post + device + rest);

  host.queues.setMainThread(true);
  Lumora::sharedInstance().initializeWithTarrowID("acme", "s3cret");
  host.queues.runAll();
  host.queues.setMainThread(false);
  EXPECT_EQ(headersOf(Operation::get), tag + get + device + "sec: s3cret\n" + rest);
  EXPECT_EQ(headersOf(Operation::post), post + device + "sec: s3cret\n" + rest);
}

TEST_F(NetworkRequestsTest, theRestOfARequest) {
  manager().setTimeoutInterval(30);
  const URLRequest get = requestOf(Operation::get);
  EXPECT_EQ(get.method + " " + get.url + " " + get.body,
            "GET " + *manager().getBaseUrlWithEndPoint("path") + " ");
  EXPECT_TRUE(get.ignoresLocalCache);
  EXPECT_EQ(get.maximumRedirects, 0);
  EXPECT_EQ(get.timeout, std::chrono::seconds(30));
  const URLRequest post = requestOf(Operation::post);
  EXPECT_EQ(post.method + " " + post.url + " " + post.body, "POST " + get.url + " body");
  EXPECT_EQ(post.maximumRedirects, 0);
  EXPECT_EQ(post.timeout, std::chrono::seconds(10));
  host.settings.setObject(kLmroTarrowID, 42);
  EXPECT_EQ(requestOf(Operation::get).url.substr(0, 11), "https://42.");
}

TEST_F(NetworkRequestsTest, withoutAnAccountNothingIsSent) {
  for (const Operation operation : operations) {
    host.settings.setObject(kLmroTarrowID, "");
    host.log.clear();
    EXPECT_FALSE(perform(operation));
    EXPECT_EQ(host.log.messages(),
              (Lines{"LumoraSDK-Tarrow ID is an empty string.0", "LumoraSDK-Error creating request Url"}));
  }
  EXPECT_TRUE(host.urlLoader.requests().empty());
}

TEST_F(NetworkRequestsTest, oneRequestIsUnderWayAtATime) {
  std::atomic<int> underWay = 0;
  std::atomic<int> most = 0;
  host.urlLoader.setHandler([&](const URLRequest&) {
    const int now = ++underWay;
    most = std::max(most.load(), now);
    for (int i = 0; i < 50; ++i) std::this_thread::yield();
    --underWay;
    return accepted();
  });
  std::vector<std::thread> threads;
  for (int thread = 0; thread < 4; ++thread)
    threads.emplace_back([thread] {
      for (int i = 0; i < 10; ++i) EXPECT_TRUE(perform(operations[thread % 2]));
    });
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(most, 1);
}

TEST_F(NetworkRequestsTest, aGETOnTheMainThreadIsAProgrammingError) {
  host.queues.setMainThread(true);
  EXPECT_TRUE(perform(Operation::post));
  EXPECT_DEBUG_DEATH(perform(Operation::get), "main thread");
  host.urlLoader.setHandler([](const URLRequest&) { return URLResponse{200, {}, "not JSON", std::nullopt}; });
  EXPECT_FALSE(perform(Operation::get)) << "it is looked at only once the answer is known to be JSON";
  host.urlLoader.setHandler([](const URLRequest&) { return URLResponse{200, {}, "{}", std::nullopt}; });
  EXPECT_DEBUG_DEATH(perform(Operation::get), "main thread");
}

}  // namespace
}  // namespace lumora::tests
