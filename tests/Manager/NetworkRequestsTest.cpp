#include <algorithm>
#include <atomic>
#include <chrono>
#include <thread>

#include "lumora/Facade/Lumora.h"
#include "tests/Manager/NetworkManagerFixture.h"

namespace lumora::tests {
namespace {

using Headers = testing::FakeURLLoader::Headers;

constexpr const char* accepted = R"({"success":true})";

class NetworkRequestsTest : public NetworkManagerTest {
 protected:
  NetworkRequestsTest() {
    host.device.languages = {"fr-CA", "en"};
    host.device.timeZone = "America/Toronto";
    host.bundle.setInfoValue(kBundleVersionKey, "42");
    host.bundle.setInfoValue(kBundleShortVersionKey, "2.1");
    host.urlLoader.setHandler([](const URLRequest&) { return URLResponse{200, {}, accepted, std::nullopt}; });
  }

  /// The request that the operation sends.
  URLRequest requestOf(Operation operation) {
    host.urlLoader.clearRequests();
    EXPECT_TRUE(perform(operation));
    const auto requests = host.urlLoader.requests();
    EXPECT_EQ(requests.size(), 1U);
    return requests.empty() ? URLRequest() : requests.front();
  }

  static Headers identification(bool withSecret) {
    Headers headers = {{"lc", "fr-CA"}, {"tz", "America/Toronto"}, {"p", "ios"}};
    if (withSecret) headers.emplace_back("sec", "s3cret");
    const Headers rest = {{"sdkvr", "6"},
                          {"appbd", "42"},
                          {"appver", "2.1"},
                          {"uuid", testing::FakeUUIDSource::uuid(1)},
                          {"tduuid", testing::FakeUUIDSource::uuid(2)}};
    headers.insert(headers.end(), rest.begin(), rest.end());
    return headers;
  }

  static Headers joined(Headers first, const Headers& second) {
    first.insert(first.end(), second.begin(), second.end());
    return first;
  }
};

TEST_F(NetworkRequestsTest, theURLJoinsAccountDomainAndPath) {
  const auto base = manager().getBaseUrlWithEndPoint("");
  ASSERT_TRUE(base);
  EXPECT_TRUE(base->starts_with("https://acme.") && base->ends_with("/")) << *base;
  for (const char* endPoint : {"api/v1/sync", "report/events/?ak=1&sign=a b%20", "/twice"}) {
    EXPECT_EQ(manager().getBaseUrlWithEndPoint(endPoint), *base + endPoint);
    for (const Operation operation : operations) perform(operation, endPoint);
    for (const URLRequest& request : host.urlLoader.requests()) EXPECT_EQ(request.url, *base + endPoint);
    host.urlLoader.clearRequests();
  }
}

TEST_F(NetworkRequestsTest, eachIsTracedWithItsURL) {
  const std::string url = *manager().getBaseUrlWithEndPoint("path");
  for (const Operation operation : operations) perform(operation);
  EXPECT_EQ(host.log.count("LumoraFramework--[LMRNetworkManager getDataFromEndpoint:] [Line 52] Getting data "
                           "from end point " +
                           url),
            1U);
  EXPECT_EQ(host.log.count("LumoraFramework--[LMRNetworkManager postDataSync:toEndpoint:] [Line 136] Posting "
                           "data to end point " +
                           url),
            1U);
}

TEST_F(NetworkRequestsTest, withoutAnAccountNothingIsSent) {
  for (const Value& account : {Value(), Value("")}) {
    for (const Operation operation : operations) {
      host.settings.clear();
      if (!account.isNull()) host.settings.setObject(kLmroTarrowID, account);
      host.log.clear();
      EXPECT_FALSE(perform(operation));
      EXPECT_EQ(host.log.messages(),
                (Lines{"LumoraSDK-Tarrow ID is an empty string.0", "LumoraSDK-Error creating request Url"}));
    }
  }
  EXPECT_TRUE(host.urlLoader.requests().empty());
}

TEST_F(NetworkRequestsTest, aGETCarriesItsHeadersInOrder) {
  EXPECT_EQ(requestOf(Operation::get).headers,
            joined({{"Content-type", "text/plain"}}, identification(false)));
  // The tag of this run's own answers is not what is sent back.
  host.settings.setObject(kLmroEtag, "own");
  EXPECT_EQ(requestOf(Operation::get).headers,
            joined({{"Content-type", "text/plain"}}, identification(false)));
  host.settings.setObject("OstrelETag", "\"tag\"");
  const URLRequest request = requestOf(Operation::get);
  EXPECT_EQ(request.headers,
            joined({{"If-None-Match", "\"tag\""}, {"Content-type", "text/plain"}}, identification(false)));
  EXPECT_EQ(request.method, "GET");
  EXPECT_EQ(request.body, "");
  EXPECT_TRUE(request.ignoresLocalCache);
  EXPECT_EQ(request.maximumRedirects, 0);
}

TEST_F(NetworkRequestsTest, aPOSTCarriesBodyAndHeadersInOrder) {
  host.settings.setObject("OstrelETag", "tag");
  const URLRequest request = requestOf(Operation::post);
  EXPECT_EQ(request.headers, joined({{"Content-type", "application/json"}}, identification(false)));
  EXPECT_EQ(request.method, "POST");
  EXPECT_EQ(request.body, "body");
  EXPECT_EQ(request.maximumRedirects, 0);
}

TEST_F(NetworkRequestsTest, theSecretIsSentOnceInitialised) {
  host.queues.setMainThread(true);
  Lumora::sharedInstance().initializeWithTarrowID("acme", "s3cret");
  host.queues.runAll();
  ASSERT_EQ(Lumora::sharedInstance().appSecret(), "s3cret");
  host.queues.setMainThread(false);
  EXPECT_EQ(requestOf(Operation::get).headers,
            joined({{"Content-type", "text/plain"}}, identification(true)));
  EXPECT_EQ(requestOf(Operation::post).headers,
            joined({{"Content-type", "application/json"}}, identification(true)));
}

TEST_F(NetworkRequestsTest, theTimeOutIsThatOfTheGETAlone) {
  EXPECT_EQ(requestOf(Operation::get).timeout, std::chrono::seconds(10));
  for (const long seconds : {5L, 30L, 100000L}) {
    manager().setTimeoutInterval(seconds);
    EXPECT_EQ(manager().timeoutInterval(), seconds);
    EXPECT_EQ(requestOf(Operation::get).timeout, std::chrono::seconds(seconds));
    EXPECT_EQ(requestOf(Operation::post).timeout, std::chrono::seconds(10));
  }
}

TEST_F(NetworkRequestsTest, aSecondCallerWaitsForTheFirst) {
  host.urlLoader.hold();
  std::thread first([] { perform(Operation::get, "first"); });
  host.urlLoader.waitForHeldRequests(1);
  std::thread second([] { perform(Operation::post, "second"); });
  EXPECT_EQ(host.urlLoader.requests().size(), 1U);
  host.urlLoader.release();
  first.join();
  second.join();
  const auto requests = host.urlLoader.requests();
  ASSERT_EQ(requests.size(), 2U);
  EXPECT_TRUE(requests[0].url.ends_with("/first"));
  EXPECT_TRUE(requests[1].url.ends_with("/second"));
}

TEST_F(NetworkRequestsTest, oneRequestIsUnderWayAtATime) {
  std::atomic<int> underWay = 0;
  std::atomic<int> most = 0;
  host.urlLoader.setHandler([&](const URLRequest&) {
    const int now = ++underWay;
    most = std::max(most.load(), now);
    for (int i = 0; i < 50; ++i) std::this_thread::yield();
    --underWay;
    return URLResponse{200, {}, accepted, std::nullopt};
  });
  std::vector<std::thread> threads;
  for (int thread = 0; thread < 4; ++thread) {
    threads.emplace_back([thread] {
      for (int i = 0; i < 10; ++i) EXPECT_TRUE(perform(operations[thread % 2]));
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(most, 1);
  EXPECT_EQ(host.urlLoader.requests().size(), 40U);
}

TEST_F(NetworkRequestsTest, aGETOnTheMainThreadIsAProgrammingError) {
  host.queues.setMainThread(true);
  EXPECT_TRUE(perform(Operation::post));
  EXPECT_DEBUG_DEATH(perform(Operation::get), "main thread");
}

}  // namespace
}  // namespace lumora::tests
