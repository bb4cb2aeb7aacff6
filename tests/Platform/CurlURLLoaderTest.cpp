#include "lumora/Platform/Linux/Network/LinuxURLLoader.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>

#include <tuple>

#include "tests/Platform/HTTPTestServer.h"

namespace lumora::testing {
namespace {

URLRequest get(const std::string& url, const std::string& method = "GET", const std::string& body = "") {
  URLRequest request;
  request.url = url;
  request.method = method;
  request.body = body;
  return request;
}

std::string answer(const std::string& body, const std::string& head = "200 OK") {
  return "HTTP/1.1 " + head + "\r\nContent-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body;
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

  LinuxURLLoader loader{"", ""};
};

TEST_F(CurlURLLoaderTest, SendsTheGivenHeadersInOrderAndNoOthers) {
  const HTTPTestServer server(answer("ok"));
  URLRequest request = get(server.url("/a/../b?c=%20+"), "POST", "{}\n{}");
  // clang-format off
  request.headers = {{"Content-type", "application/json"}, {"empty", ""}, {"evil", "1\r\ninjected: 2"}, {"ev\nil", "1"},
                     {"nul", std::string("1\0002", 3)}, {"blank", "  "}, {"appbd", "42"}};
  // clang-format on
  request.ignoresLocalCache = true;
  EXPECT_EQ(loader.load(request).body, "ok");
  const std::string sent = "POST /a/../b?c=%20+ HTTP/1.1\r\nHost: " + server.address() +
                           "\r\nContent-type: application/json\r\nempty:\r\nblank:\r\nappbd: 42"
                           "\r\nCache-Control: no-cache";
  EXPECT_EQ(server.requests().at(0), sent + "\r\nContent-Length: 5\r\n\r\n{}\n{}");
}

TEST_F(CurlURLLoaderTest, AbortsRequestsUntilItIsToldOtherwise) {
  // The rest of the body never comes.
  const HTTPTestServer slow([this](std::size_t) {
    loader.setAborting(true);
    return HTTPTestServer::Reply{"HTTP/1.1 200 OK\r\nContent-Length: 10\r\n\r\nhalf"};
  });
  const HTTPTestServer server(answer("ok"));
  EXPECT_EQ(errorOf(get(slow.url())), kURLErrorCancelled);
  EXPECT_EQ(errorOf(get(server.url())), kURLErrorCancelled);
  loader.setAborting(false);
  EXPECT_EQ(errorOf(get(server.url())), 0);
}

TEST_F(CurlURLLoaderTest, GivesStatusHeadersAndBodyOfAnyAnswer) {
  const std::string headers = "\r\nETag:   \"a:b\" \r\nX-Twice: 1\r\nX-Twice: 2";
  const std::pair<std::string, std::string> cases[] = {
      {answer("text", "200 OK" + headers), "200text"},
      {answer("", "304 Not Modified" + headers), "304"},
      {answer("text", "404 Not Found" + headers), "404text"},
      {answer("text", "500 Broken" + headers), "500text"},
      // Only a status line begins an answer, whatever a header or a trailer is called.
      {"HTTP/1.1 103 Early Hints\r\nETag: no\r\n\r\nHTTP/1.1 200 OK" + headers +
           "\r\nHTTP/1.1 500: x\r\nTransfer-Encoding: chunked\r\n\r\n4\r\ntext\r\n0\r\nHTTP/1.1: y\r\n\r\n",
       "200text"}};
  for (const auto& [bytes, statusAndBody] : cases) {
    const HTTPTestServer server(bytes);
    const URLResponse response = loader.load(get(server.url()));
    EXPECT_FALSE(response.error) << bytes;
    EXPECT_EQ(std::to_string(response.statusCode) + response.body, statusAndBody) << bytes;
    EXPECT_EQ(response.header("etag").value_or("") + response.header("x-twice").value_or(""), "\"a:b\"2");
  }
}

TEST_F(CurlURLLoaderTest, UsesOneConnectionForRequestsInARowThatStartedProgramsDoNotInherit) {
  std::string inherited;
  // A second connection would wait for the first one's end.
  const HTTPTestServer server([&](std::size_t) {
    for (int file = 3; file < 256; ++file) {
      struct stat status = {};
      if (::fstat(file, &status) == 0 && S_ISSOCK(status.st_mode) && ::fcntl(file, F_GETFD) != FD_CLOEXEC)
        inherited += std::to_string(file) + " ";
    }
    return HTTPTestServer::Reply{answer("ok")};
  });
  std::string body;
  for (int i = 0; body.size() < std::size_t{3} * 1024 * 1024; ++i) body += std::to_string(i) + '\0';
  for (int i = 0; i < 2; ++i) {
    EXPECT_EQ(errorOf(get(server.url())), 0);
    EXPECT_EQ(errorOf(get(server.url(), "POST", body)), 0);
  }
  const std::string host = " / HTTP/1.1\r\nHost: " + server.address() + "\r\n";
  const std::string length = "Content-Length: " + std::to_string(body.size()) + "\r\n\r\n";
  EXPECT_TRUE(server.requests().at(1) == "POST" + host + length + body);
  EXPECT_EQ(server.requests().at(2), "GET" + host + "\r\n");
  EXPECT_EQ(inherited, "");
}

TEST_F(CurlURLLoaderTest, NeverSendsARequestTwice) {
  for (const std::string method : {"POST", "GET"}) {
    SCOPED_TRACE(method);
    // The kept connection dies once the second request has been read: the service may have acted on it.
    const HTTPTestServer server([](std::size_t number) {
      return number == 1 ? HTTPTestServer::Reply{"", true} : HTTPTestServer::Reply{answer("ok")};
    });
    const URLRequest request = get(server.url(), method, "an event");
    EXPECT_EQ(errorOf(request), 0);
    EXPECT_EQ(errorOf(request), kURLErrorUnknown);
    EXPECT_EQ(server.requests().size(), 2U);
    EXPECT_EQ(loader.load(request).body, "ok") << "the caller's own next attempt is another matter";
  }
}

TEST_F(CurlURLLoaderTest, ReportsWhyNoAnswerCame) {
  for (const char* url :
       {"file:///etc/passwd", "ftp://127.0.0.1/", "127.0.0.1/", "http:", "http://", "http://a b/", ""}) {
    EXPECT_EQ(errorOf(get(url)), kURLErrorUnknown) << url;
  }
  EXPECT_EQ(errorOf(get(std::string("http://127.0.0.1\0.example/", 26))), kURLErrorUnknown);
  const std::string gone = HTTPTestServer("").url();
  EXPECT_EQ(errorOf(get(gone)), kURLErrorCannotConnectToHost);
  EXPECT_EQ(errorOf(get("http://255.255.255.255/")), kURLErrorNotConnectedToInternet)
      << "no route leads to everybody";
  EXPECT_THAT(errorOf(get("http://nonexistent.invalid/")),
              ::testing::AnyOf(kURLErrorCannotFindHost, kURLErrorNotConnectedToInternet));
}

TEST_F(CurlURLLoaderTest, EndsARequestAtItsTimeout) {
  using std::chrono::seconds;
  for (const seconds timeout : {seconds(1), seconds(0), seconds(-5), seconds::max()}) {
    const HTTPTestServer server(timeout == seconds::max() ? answer("ok") : "");
    URLRequest request = get(server.url());
    request.timeout = timeout;
    EXPECT_EQ(errorOf(request), timeout == seconds::max() ? 0 : kURLErrorTimedOut) << timeout.count();
    std::swap(request.timeout, request.longestTransfer);
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
  // clang-format off
  const std::tuple<std::string, int, int, bool> cases[] = {
      {"/next", 0, 302, false}, {"/next", 1, 302, true}, {"/next", 2, 200, false},
      {"file:///etc/passwd", 5, 302, true}, {"ftp://127.0.0.1/", 5, 302, true}};
  // clang-format on
  for (const auto& [target, allowed, status, fails] : cases) {
    SCOPED_TRACE(target + " " + std::to_string(allowed));
    const std::string moved = answer("moved", "302 Found\r\nHop: 1\r\nLocation: " + target);
    const HTTPTestServer server(
        [&](std::size_t number) { return HTTPTestServer::Reply{number < 2 ? moved : answer("here")}; });
    URLRequest request = get(server.url());
    request.maximumRedirects = allowed;
    const URLResponse response = loader.load(request);
    EXPECT_EQ(response.statusCode, status);
    EXPECT_EQ(response.error.has_value(), fails);
    EXPECT_EQ(response.header("Hop").has_value(), status == 302) << "headers are the last answer's";
  }
}

TEST_F(CurlURLLoaderTest, LeavesTheSignalMaskAloneAndSurvivesABrokenConnection) {
  ::signal(SIGPIPE, SIG_DFL);
  EXPECT_EQ(errorOf(get(HTTPTestServer(answer("ok")).url())), 0);
  EXPECT_NE(errorOf(get(HTTPTestServer("HTTP/1.1 100 Continue\r\n\r\n", true).url(), "POST", "x")), 0);
  sigset_t blocked;
  ::pthread_sigmask(SIG_SETMASK, nullptr, &blocked);
  EXPECT_EQ(sigismember(&blocked, SIGPIPE), 0);
}

}  // namespace
}  // namespace lumora::testing
