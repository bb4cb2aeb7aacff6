#include "lumora/Platform/Linux/CurlURLLoader.h"

#include <gtest/gtest.h>
#include <signal.h>

#include <condition_variable>
#include <mutex>
#include <thread>

#include "tests/Platform/HTTPTestServer.h"

namespace lumora::testing {
namespace {

URLRequest get(const std::string& url) {
  URLRequest request;
  request.url = url;
  return request;
}

URLRequest post(const std::string& url, const std::string& body) {
  URLRequest request = get(url);
  request.method = "POST";
  request.body = body;
  return request;
}

std::string answer(const std::string& body, const std::string& status = "200 OK",
                   const std::string& headers = "") {
  return "HTTP/1.1 " + status + "\r\n" + headers + "Content-Length: " + std::to_string(body.size()) +
         "\r\n\r\n" + body;
}

struct CurlURLLoaderTest : ::testing::Test {
  /// The code of the failure that the request must end in; 0 when it does not.
  int errorOf(const URLRequest& request) {
    const URLResponse response = loader.load(request);
    if (!response.error) return 0;
    EXPECT_EQ(response.error->domain, kURLErrorDomain);
    EXPECT_NE(response.error->description, "");
    return response.error->code;
  }

  CurlURLLoader loader{"", ""};
};

TEST_F(CurlURLLoaderTest, SendsTheGivenHeadersInOrderAndNoOthers) {
  const HTTPTestServer server(answer("ok"));
  URLRequest request = post(server.url("/a/../b?c=%20+"), "{}\n{}");
  request.headers = {{"Content-type", "application/json"},
                     {"empty", ""},
                     {"evil", "1\r\ninjected: 2"},
                     {"ev\nil", "1"},
                     {"nul", std::string("1\0002", 3)},
                     {"blank", "  "},
                     {"appbd", "42"}};
  EXPECT_EQ(loader.load(request).body, "ok");
  EXPECT_EQ(server.requests().at(0), "POST /a/../b?c=%20+ HTTP/1.1\r\nHost: " + server.address() +
                                         "\r\nContent-type: application/json\r\nempty:\r\nblank:\r\nappbd: "
                                         "42\r\nContent-Length: 5\r\n\r\n{}\n{}");
}

TEST_F(CurlURLLoaderTest, GivesStatusHeadersAndBodyOfAnyAnswer) {
  for (const std::string status : {"200 OK", "304 Not Modified", "404 Not Found", "500 Broken"}) {
    const std::string body = status.starts_with("304") ? "" : "text";
    const HTTPTestServer server(answer(body, status, "ETag:   \"a:b\" \r\nX-Twice: 1\r\nX-Twice: 2\r\n"));
    const URLResponse response = loader.load(get(server.url()));
    EXPECT_FALSE(response.error) << status;
    EXPECT_EQ(std::to_string(response.statusCode), status.substr(0, 3));
    EXPECT_EQ(response.body, body) << status;
    EXPECT_EQ(response.header("etag"), "\"a:b\"") << status;
    EXPECT_EQ(response.header("x-twice"), "2") << status;
  }
}

TEST_F(CurlURLLoaderTest, UsesOneConnectionForRequestsInARow) {
  const HTTPTestServer server(answer("ok"));
  std::string body;
  for (int i = 0; body.size() < std::size_t{3} * 1024 * 1024; ++i) body += std::to_string(i) + '\0';
  for (int i = 0; i < 2; ++i) {
    EXPECT_EQ(errorOf(get(server.url())), 0);
    EXPECT_EQ(errorOf(post(server.url(), body)), 0);
  }
  EXPECT_EQ(server.connectionCount(), 1U);
  EXPECT_TRUE(server.requests().at(1).ends_with("\r\n\r\n" + body));
  EXPECT_EQ(server.requests().at(2), "GET / HTTP/1.1\r\nHost: " + server.address() + "\r\n\r\n");
}

TEST_F(CurlURLLoaderTest, ARequestDoesNotWaitForARunningOne) {
  std::mutex mutex;
  std::condition_variable bothHaveCome;
  int count = 0;
  // Each answer waits for the other request: one after the other they would both time out.
  const HTTPTestServer server([&](std::size_t) {
    std::unique_lock lock(mutex);
    ++count;
    bothHaveCome.notify_all();
    bothHaveCome.wait_for(lock, std::chrono::seconds(20), [&] { return count >= 2; });
    return HTTPTestServer::Reply{answer(std::to_string(count))};
  });
  std::jthread other([&] { EXPECT_EQ(loader.load(get(server.url())).body, "2"); });
  EXPECT_EQ(loader.load(get(server.url())).body, "2");
}

TEST_F(CurlURLLoaderTest, NeverSendsARequestTwice) {
  for (const std::string method : {"POST", "GET"}) {
    SCOPED_TRACE(method);
    // The kept connection dies once the second request has been read: the service may have acted on it.
    const HTTPTestServer server([](std::size_t number) {
      return number == 1 ? HTTPTestServer::Reply{"", true} : HTTPTestServer::Reply{answer("ok")};
    });
    URLRequest request = post(server.url(), "an event");
    request.method = method;
    EXPECT_EQ(errorOf(request), 0);
    EXPECT_EQ(errorOf(request), kURLErrorUnknown);
    EXPECT_EQ(server.requests().size(), 2U);
    EXPECT_EQ(loader.load(request).body, "ok") << "the caller's own next attempt is another matter";
  }
}

TEST_F(CurlURLLoaderTest, ReportsWhyNoAnswerCame) {
  const std::string refusing = HTTPTestServer("").url();
  const std::pair<std::string, int> cases[] = {
      {refusing, kURLErrorCannotConnectToHost},
      {"http://255.255.255.255/", kURLErrorNotConnectedToInternet},  // no route leads to everybody
      {"file:///etc/passwd", kURLErrorUnknown},
      {"ftp://127.0.0.1/", kURLErrorUnknown},
      {"127.0.0.1/", kURLErrorUnknown},
      {"http:", kURLErrorUnknown},
      {"http://", kURLErrorUnknown},
      {"http://a b/", kURLErrorUnknown},
      {std::string("http://127.0.0.1\0.example/", 26), kURLErrorUnknown},
      {"", kURLErrorUnknown}};
  for (const auto& [url, code] : cases) EXPECT_EQ(errorOf(get(url)), code) << url;
  const int unknownHost = errorOf(get("http://nonexistent.invalid/"));
  EXPECT_TRUE(unknownHost == kURLErrorCannotFindHost || unknownHost == kURLErrorNotConnectedToInternet)
      << unknownHost << "; a machine without any network cannot know";
}

TEST_F(CurlURLLoaderTest, EndsARequestAtItsTimeout) {
  const HTTPTestServer answering(answer("ok"));
  const HTTPTestServer silent("");
  using std::chrono::seconds;
  for (const seconds timeout : {seconds(1), seconds(0), seconds(-5), seconds::max()}) {
    URLRequest request = timeout == seconds::max() ? get(answering.url()) : get(silent.url());
    request.timeout = timeout;
    EXPECT_EQ(errorOf(request), timeout == seconds::max() ? 0 : kURLErrorTimedOut) << timeout.count();
  }
}

TEST_F(CurlURLLoaderTest, AnAnswerThatBreaksOffIsAnError) {
  for (const std::string bytes :
       {"HTTP/1.1 200 OK\r\nContent-Length: 10\r\n\r\nhalf", "HTTP/1.1 200 OK\r\nContent-Le",
        "not HTTP at all", "", "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n4\r\nhalf\r\n"}) {
    EXPECT_EQ(errorOf(get(HTTPTestServer(bytes, true).url())), kURLErrorUnknown) << bytes;
  }
}

TEST_F(CurlURLLoaderTest, RefusesABodyOverItsLimit) {
  const std::string body(1000, 'x');
  const std::string chunked =
      "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n3e8\r\n" + body + "\r\n0\r\n\r\n";
  for (const std::string& bytes : {answer(body), chunked}) {
    for (const std::size_t limit : {0U, 999U, 1000U}) {
      SCOPED_TRACE(bytes.substr(0, 40) + " limit " + std::to_string(limit));
      const HTTPTestServer server(bytes);
      URLRequest request = get(server.url());
      request.maximumBodySize = limit;
      const URLResponse response = loader.load(request);
      EXPECT_EQ(response.error ? response.error->description : "",
                limit == 1000 ? "" : "The answer is larger than " + std::to_string(limit) + " bytes.");
      EXPECT_LE(response.body.size(), limit);
    }
  }
}

TEST_F(CurlURLLoaderTest, FollowsNoMoreRedirectsThanAllowedAndToTheWebOnly) {
  struct Case {
    std::string target;
    int allowed;
    int status;
    bool fails;
  };
  const Case cases[] = {{"/next", 0, 302, false},
                        {"/next", 1, 302, true},
                        {"/next", 2, 200, false},
                        {"file:///etc/passwd", 5, 302, true},
                        {"ftp://127.0.0.1/", 5, 302, true}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.target + " " + std::to_string(c.allowed));
    const std::string moved = answer("moved", "302 Found", "Hop: 1\r\nLocation: " + c.target + "\r\n");
    const HTTPTestServer server(
        [&](std::size_t number) { return HTTPTestServer::Reply{number < 2 ? moved : answer("here")}; });
    URLRequest request = get(server.url());
    request.maximumRedirects = c.allowed;
    const URLResponse response = loader.load(request);
    EXPECT_EQ(response.statusCode, c.status);
    EXPECT_EQ(response.error.has_value(), c.fails);
    if (c.status == 200) {
      EXPECT_EQ(response.body, "here");
      EXPECT_EQ(response.header("Hop"), std::nullopt);
    }
  }
}

TEST_F(CurlURLLoaderTest, LeavesTheSignalMaskAloneAndSurvivesABrokenConnection) {
  ::signal(SIGPIPE, SIG_DFL);
  EXPECT_EQ(errorOf(get(HTTPTestServer(answer("ok")).url())), 0);
  EXPECT_NE(errorOf(post(HTTPTestServer("HTTP/1.1 100 Continue\r\n\r\n", true).url(), "body")), 0);
  sigset_t blocked;
  ::pthread_sigmask(SIG_SETMASK, nullptr, &blocked);
  EXPECT_EQ(sigismember(&blocked, SIGPIPE), 0);
}

}  // namespace
}  // namespace lumora::testing
