#include "lumora/Manager/LMRNetworkManager.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <map>
#include <thread>
#include <tuple>

#include "lumora/Facade/Lumora.h"
#include "lumora/Platform/JSON.h"
#include "lumora/Testing/FakePlatform.h"
#include "lumora/Util/LMRSettingsKeys.h"

namespace lumora::tests {
namespace {

enum class Operation { get, post };

/// The client of the service with an account identifier, off the main thread. Each test is made once with
/// each of the two operations.
class NetworkManagerTest : public ::testing::TestWithParam<Operation> {
 protected:
  using Lines = std::vector<std::string>;

  NetworkManagerTest() {
    host.settings.setObject(kLmroTarrowID, "acme");
    host.queues.setMainThread(false);
    // A request asks the facade for the secret; made only then, it would take its locks inside the request's.
    Lumora::sharedInstance();
    host.urlLoader.setHandler([](const URLRequest&) { return URLResponse{200, {}, kAccepted, {}}; });
  }

  static LMRNetworkManager& manager() { return LMRNetworkManager::sharedInstance(); }
  static bool isGet() { return GetParam() == Operation::get; }
  static std::optional<Dictionary> perform() {
    return isGet() ? manager().getDataFromEndpoint("path") : manager().postDataSync("body", "path");
  }

  /// The lines so far, without the traces and the line that announces this installation's identifier.
  Lines messages() const {
    Lines lines = host.log.messages();
    std::erase_if(lines, [](std::string_view line) {
      return line.starts_with("LumoraFramework-") || line.starts_with("LumoraSDK-Current UUID is : ");
    });
    host.log.clear();
    return lines;
  }

  /// The request that the operation sends.
  URLRequest request() {
    host.urlLoader.clearRequests();
    EXPECT_TRUE(perform());
    EXPECT_EQ(host.urlLoader.requests().size(), 1U);
    return host.urlLoader.requests().at(0);
  }

  /// The headers of the request in their order, a line each.
  std::string headers() {
    std::string lines;
    for (const auto& [name, value] : request().headers) lines += name + ": " + value + "\n";
    return lines;
  }

  static constexpr const char* kAccepted = R"({"success":true})";
  testing::FakePlatform& host = testing::FakePlatform::install();
};

INSTANTIATE_TEST_SUITE_P(, NetworkManagerTest, ::testing::Values(Operation::get, Operation::post),
                         [](const auto& test) { return test.param == Operation::get ? "get" : "post"; });

TEST_P(NetworkManagerTest, headersStandInTheirOrder) {
  host.device.languages = {"fr-CA", "en"};
  host.device.timeZone = "America/Toronto";
  host.bundle.setInfoValue(kBundleVersionKey, "42");
  host.bundle.setInfoValue(kBundleShortVersionKey, "2.1");
  const std::string type = isGet() ? "Content-type: text/plain\n" : "Content-type: application/json\n";
  const std::string device = type + "lc: fr-CA\ntz: America/Toronto\np: ios\n";
  const std::string rest = "sdkvr: 6\nappbd: 42\nappver: 2.1\nuuid: " + testing::FakeUUIDSource::uuid(1) +
                           "\ntduuid: " + testing::FakeUUIDSource::uuid(2) + "\n";
  // The tag of this run's own answers is not what is sent back.
  host.settings.setObject(kLmroEtag, "own");
  EXPECT_EQ(headers(), device + rest);
  host.settings.setObject("OstrelETag", "\"tag\"");
  const std::string tag = isGet() ? "If-None-Match: \"tag\"\n" : "";
  EXPECT_EQ(headers(), tag + device + rest);

  host.queues.setMainThread(true);
  Lumora::sharedInstance().initializeWithTarrowID("acme", "s3cret");
  host.queues.runAll();
  host.queues.setMainThread(false);
  EXPECT_EQ(headers(), tag + device + "sec: s3cret\n" + rest);
}

TEST_P(NetworkManagerTest, theRestOfARequest) {
  manager().setTimeoutInterval(30);
  const URLRequest sent = request();
  EXPECT_EQ(sent.url, manager().getBaseUrlWithEndPoint("path"));
  EXPECT_EQ(sent.method + sent.body, isGet() ? "GET" : "POSTbody");
  EXPECT_EQ(sent.ignoresLocalCache, isGet());
  EXPECT_EQ(sent.maximumRedirects, 0);
  EXPECT_EQ(sent.timeout, std::chrono::seconds(isGet() ? 30 : 10));
  host.settings.setObject(kLmroTarrowID, 42);
  EXPECT_EQ(request().url.substr(0, 11), "https://42.");
}

TEST_P(NetworkManagerTest, withoutAnAccountNothingIsSent) {
  host.settings.setObject(kLmroTarrowID, "");
  EXPECT_FALSE(perform());
  EXPECT_EQ(host.log.messages(),
            (Lines{"LumoraSDK-Tarrow ID is an empty string.0", "LumoraSDK-Error creating request Url"}));
  EXPECT_TRUE(host.urlLoader.requests().empty());
}

TEST_P(NetworkManagerTest, oneRequestIsUnderWayAtATime) {
  std::atomic<int> underWay = 0;
  std::atomic<int> most = 0;
  host.urlLoader.setHandler([&](const URLRequest&) {
    const int now = ++underWay;
    most = std::max(most.load(), now);
    for (int i = 0; i < 50; ++i) std::this_thread::yield();
    --underWay;
    return URLResponse{200, {}, kAccepted, {}};
  });
  std::vector<std::thread> threads;
  for (int thread = 0; thread < 4; ++thread)
    threads.emplace_back([] {
      for (int i = 0; i < 10; ++i) EXPECT_TRUE(perform() && manager().postDataSync("", "other"));
    });
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(most, 1);
}

TEST_P(NetworkManagerTest, aGETOnTheMainThreadIsAProgrammingError) {
  host.queues.setMainThread(true);
  host.urlLoader.enqueue(200, "not JSON");
  EXPECT_FALSE(perform()) << "the thread is looked at only once the answer is known to be JSON";
  host.urlLoader.enqueue(200, "{}");
  if (isGet()) {
    EXPECT_DEBUG_DEATH(perform(), "main thread");
  } else {
    EXPECT_FALSE(perform());
  }
}

TEST_P(NetworkManagerTest, anAcceptedAnswerIsGivenUnchanged) {
  for (const char* body :
       {R"( {"config":{"a":[1,null,"x"]},"error_message":"none","success":true} )",
        R"({"success":false,"success":true})", R"({"success":1})", R"({"success":-0.5})"}) {
    // The status code alone does not make an answer wrong.
    for (const int status : {200, 304, 404, 500}) {
      host.urlLoader.enqueue(status, body);
      EXPECT_TRUE(perform() == *parseJSON(body)->asDictionary()) << status << " " << body;
    }
  }
  EXPECT_EQ(messages(), Lines());
}

TEST_P(NetworkManagerTest, everyOtherAnswerIsLoggedAndGivesNothing) {
  const std::string deep = std::string(100000, '[') + std::string(100000, ']');
  // clang-format off
  const std::map<std::string, Lines> bodiesByLine = {
      {"Internal Error Occured",
       {" ", "<html></html>", "\"text\"", "42", "true", "null", R"({"success":tru)", std::string("{\"success\":true}\0", 17), deep}},
      {"Invalid response, please contact Lumora support.",
       {"[]", R"([{"success":true}])", "{}", R"({"success":false})", R"({"success":0})", R"({"success":-0.0})",
        R"({"success":"true"})", R"({"success":null})", R"({"success":[true]})", R"({"Success":true})",
        R"({"data":{"success":true}})", R"({"success":false,"error_message":null})"}},
      {"Wrong {} %@ secret", {R"({"success":false,"error_message":"Wrong {} %@ secret"})"}},
      {"", {R"({"error_message":""})"}}, {"42", {R"({"success":false,"error_message":42})"}},
      {Value(List{"a", 1}).description(), {R"({"success":false,"error_message":["a",1]})"}}};
  // clang-format on
  for (const auto& [line, bodies] : bodiesByLine) {
    for (const std::string& body : bodies) {
      host.urlLoader.enqueue(200, body, {{"Etag", "of a wrong answer"}});
      EXPECT_FALSE(perform());
      EXPECT_EQ(messages(), Lines{"LumoraSDK-" + line}) << body.substr(0, 80);
    }
  }
  EXPECT_TRUE(host.settings.object(kLmroEtag).isNull());
}

TEST_P(NetworkManagerTest, anEmptyAnswerIsSilentUnlessAGETFindsNothingNew) {
  for (const int status : {200, 304, 500}) {
    host.urlLoader.enqueue(status, "", {{"Etag", "of nothing"}});
    EXPECT_FALSE(perform());
    const bool isNothingNew = status == 304 && isGet();
    EXPECT_EQ(messages(), isNothingNew ? Lines{"LumoraSDK-No update available"} : Lines()) << status;
  }
  EXPECT_TRUE(host.settings.object(kLmroEtag).isNull());
}

TEST_P(NetworkManagerTest, anAcceptedGETRemembersItsEntityTag) {
  // clang-format off
  const std::pair<testing::FakeURLLoader::Headers, Value> cases[] = {
      {{}, Value()}, {{{"Etag", "\"one\""}}, "\"one\""}, {{}, "\"one\""}, {{{"ETAG", "two"}}, "two"}, {{{"etag", ""}}, ""}};
  // clang-format on
  for (const auto& [headers, stored] : cases) {
    host.urlLoader.enqueue(200, kAccepted, headers);
    EXPECT_TRUE(perform());
    host.settings.loseUnflushedChanges();
    EXPECT_EQ(host.settings.object(kLmroEtag), isGet() ? stored : Value()) << stored.description();
  }
}

TEST_P(NetworkManagerTest, transportErrorsAreLoggedReadably) {
  const std::string domain(kURLErrorDomain);
  const char* const offline = "Cannot connect to the Lumora, Please check network connectivity.";
  host.bundle.setLocalizedString(offline, "Pas de r\xC3\xA9seau");
  // clang-format off
  const std::pair<TransportError, std::string> cases[] = {
      {{domain, -1009, "cause"}, "Pas de r\xC3\xA9seau"}, {{domain, -1004, "cause"}, "Cannot connect to Lumora."},
      {{domain, -1003, "cause"}, "Cannot connect to Lumora."}, {{domain, -1001, "The request timed out."}, "The request timed out."},
      {{domain, -1, "cause {}"}, "cause {}"}, {{"OtherDomain", -1009, "cause"}, "cause"}};
  // clang-format on
  for (const auto& [error, line] : cases) {
    // A transfer that broke off has both an error and a body.
    host.urlLoader.enqueue(URLResponse{200, {}, kAccepted, error});
    EXPECT_FALSE(perform());
    EXPECT_EQ(messages(), Lines{"LumoraSDK-" + line}) << error.domain << " " << error.code;
  }
}

}  // namespace
}  // namespace lumora::tests
