#include "lumora/Platform/Linux/CurlURLLoader.h"

#include <gtest/gtest.h>
#include <signal.h>

#include <condition_variable>
#include <mutex>
#include <thread>

#include "tests/Platform/HTTPTestServer.h"

namespace lumora {
namespace {

using testing_support::closedPort;
using testing_support::httpAnswer;
using testing_support::HTTPTestServer;

HTTPTestServer::Handler alwaysAnswering(std::string bytes) {
  return [bytes = std::move(bytes)](const std::string&, std::size_t) { return HTTPTestServer::Reply{bytes}; };
}

URLRequest get(std::string url) {
  URLRequest request;
  request.url = std::move(url);
  return request;
}

URLRequest post(std::string url, std::string body) {
  URLRequest request = get(std::move(url));
  request.method = "POST";
  request.body = std::move(body);
  return request;
}

TEST(CurlURLLoader, SendsTheGivenHeadersInOrderAndNoOthers) {
  HTTPTestServer server(alwaysAnswering(httpAnswer("ok")));
  CurlURLLoader loader("", "");
  URLRequest request = post(server.url("/a/../b?c=%20+"), "{}\n{}");
  request.headers = {{"Content-type", "application/json"},
                     {"tz", "Europe/Berlin"},
                     {"empty", ""},
                     {"lc", "en"},
                     {"evil", "1\r\ninjected: 2"},
                     {"ev\nil", "1"},
                     {"nul", std::string("1\0002", 3)},
                     {"blank", "  "},
                     {"appbd", "42"}};
  const URLResponse response = loader.load(request);
  EXPECT_EQ(response.statusCode, 200);
  EXPECT_EQ(response.body, "ok");
  EXPECT_FALSE(response.error);
  const std::string expected =
      "POST /a/../b?c=%20+ HTTP/1.1\r\nHost: " + server.address() +
      "\r\nContent-type: application/json\r\ntz: Europe/Berlin\r\nempty:\r\nlc: en\r\n"
      "blank:\r\nappbd: 42\r\nContent-Length: 5\r\n\r\n{}\n{}";
  EXPECT_EQ(server.requests().at(0), expected);
}

TEST(CurlURLLoader, GivesStatusHeadersAndBodyOfAnyAnswer) {
  for (const std::string statusLine : {"200 OK", "304 Not Modified", "404 Not Found", "500 Broken"}) {
    SCOPED_TRACE(statusLine);
    HTTPTestServer server(alwaysAnswering(httpAnswer(statusLine.starts_with("304") ? "" : "text", statusLine,
                                                     "ETag:   \"a:b\" \r\nX-Twice: 1\r\nX-Twice: 2\r\n")));
    CurlURLLoader loader("", "");
    const URLResponse response = loader.load(get(server.url()));
    EXPECT_FALSE(response.error);
    EXPECT_EQ(std::to_string(response.statusCode), statusLine.substr(0, 3));
    EXPECT_EQ(response.header("etag"), "\"a:b\"");
    EXPECT_EQ(response.header("x-twice"), "2");
  }
}

TEST(CurlURLLoader, SendsALargeBodyWhole) {
  HTTPTestServer server(alwaysAnswering(httpAnswer("ok")));
  CurlURLLoader loader("", "");
  std::string body;
  for (int i = 0; body.size() < std::size_t{3} * 1024 * 1024; ++i) body += std::to_string(i) + '\0';
  EXPECT_FALSE(loader.load(post(server.url(), body)).error);
  EXPECT_TRUE(server.requests().at(0).ends_with("\r\n\r\n" + body));
}

TEST(CurlURLLoader, UsesOneConnectionForRequestsInARow) {
  HTTPTestServer server(alwaysAnswering(httpAnswer("ok")));
  CurlURLLoader loader("", "");
  for (int i = 0; i < 3; ++i) {
    EXPECT_FALSE(loader.load(get(server.url())).error);
    // An option of one request must not reach the next.
    EXPECT_FALSE(loader.load(post(server.url(), "x")).error);
  }
  EXPECT_EQ(server.connectionCount(), 1u);
  EXPECT_TRUE(server.requests().at(4).starts_with("GET / "));
  EXPECT_EQ(server.requests().at(4).find("Content-Length"), std::string::npos);
}

TEST(CurlURLLoader, ARequestDoesNotWaitForARunningOne) {
  std::mutex mutex;
  std::condition_variable bothHaveCome;
  int count = 0;
  // Each answer waits for the other request: one after the other they would both time out.
  HTTPTestServer server([&](const std::string&, std::size_t) {
    std::unique_lock lock(mutex);
    ++count;
    bothHaveCome.notify_all();
    bothHaveCome.wait_for(lock, std::chrono::seconds(20), [&] { return count >= 2; });
    return HTTPTestServer::Reply{httpAnswer(std::to_string(count))};
  });
  CurlURLLoader loader("", "");
  URLResponse first;
  std::thread other([&] { first = loader.load(get(server.url())); });
  const URLResponse second = loader.load(get(server.url()));
  other.join();
  EXPECT_EQ(first.body, "2");
  EXPECT_EQ(second.body, "2");
}

TEST(CurlURLLoader, NeverSendsARequestTwice) {
  for (const std::string method : {"POST", "GET"}) {
    SCOPED_TRACE(method);
    // The kept connection dies once the second request has been read: the service may have acted on it.
    HTTPTestServer server([](const std::string&, std::size_t number) {
      return number == 1 ? HTTPTestServer::Reply{"", true} : HTTPTestServer::Reply{httpAnswer("ok")};
    });
    CurlURLLoader loader("", "");
    URLRequest request = post(server.url(), "an event");
    request.method = method;
    EXPECT_FALSE(loader.load(request).error);
    const URLResponse response = loader.load(request);
    ASSERT_TRUE(response.error);
    EXPECT_EQ(response.error->code, kURLErrorUnknown);
    EXPECT_EQ(response.error->description, "The connection was lost before an answer came.");
    EXPECT_EQ(server.requests().size(), 2u);
    // The caller's own next attempt is another matter.
    EXPECT_EQ(loader.load(request).body, "ok");
  }
}

TEST(CurlURLLoader, ReportsWhyNoAnswerCame) {
  const std::string refusing = "http://127.0.0.1:" + std::to_string(closedPort());
  const struct {
    std::string url;
    int code;
  } cases[] = {
      {refusing, kURLErrorCannotConnectToHost},
      // The system has no route for a connection to everybody.
      {"http://255.255.255.255/", kURLErrorNotConnectedToInternet},
      {"file:///etc/passwd", kURLErrorUnknown},
      {"ftp://127.0.0.1/", kURLErrorUnknown},
      {"127.0.0.1/", kURLErrorUnknown},
      {"http:", kURLErrorUnknown},
      {"http://", kURLErrorUnknown},
      {"http://a b/", kURLErrorUnknown},
      {std::string("http://127.0.0.1\0.example/", 26), kURLErrorUnknown},
      {"", kURLErrorUnknown},
  };
  CurlURLLoader loader("", "");
  for (const auto& [url, code] : cases) {
    SCOPED_TRACE(url);
    const URLResponse response = loader.load(get(url));
    ASSERT_TRUE(response.error);
    EXPECT_EQ(response.error->domain, kURLErrorDomain);
    EXPECT_EQ(response.error->code, code);
    EXPECT_FALSE(response.error->description.empty());
    EXPECT_EQ(response.statusCode, 0);
  }
}

TEST(CurlURLLoader, ReportsAnUnknownHost) {
  CurlURLLoader loader("", "");
  URLRequest request = get("http://nonexistent.invalid/");
  const URLResponse response = loader.load(request);
  ASSERT_TRUE(response.error);
  // A machine without any network cannot know.
  EXPECT_TRUE(response.error->code == kURLErrorCannotFindHost ||
              response.error->code == kURLErrorNotConnectedToInternet)
      << response.error->code << ' ' << response.error->description;
}

TEST(CurlURLLoader, EndsARequestAtItsTimeout) {
  HTTPTestServer server(alwaysAnswering(""));
  CurlURLLoader loader("", "");
  URLRequest request = get(server.url());
  request.timeout = std::chrono::seconds(1);
  const URLResponse response = loader.load(request);
  ASSERT_TRUE(response.error);
  EXPECT_EQ(response.error->code, kURLErrorTimedOut);
}

TEST(CurlURLLoader, TakesTimeoutsOutOfRange) {
  HTTPTestServer server(alwaysAnswering(httpAnswer("ok")));
  CurlURLLoader loader("", "");
  URLRequest request = get(server.url());
  request.timeout = std::chrono::seconds::max();
  EXPECT_EQ(loader.load(request).body, "ok");
  HTTPTestServer silent(alwaysAnswering(""));
  for (const std::chrono::seconds timeout : {std::chrono::seconds(0), std::chrono::seconds(-5)}) {
    request.url = silent.url();
    request.timeout = timeout;
    const URLResponse response = loader.load(request);
    ASSERT_TRUE(response.error);
    EXPECT_EQ(response.error->code, kURLErrorTimedOut);
  }
}

TEST(CurlURLLoader, AnAnswerThatBreaksOffIsAnError) {
  const std::string cases[] = {
      "HTTP/1.1 200 OK\r\nContent-Length: 10\r\n\r\nhalf",
      "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n4\r\nhalf\r\n",
      "HTTP/1.1 200 OK\r\nContent-Le",
      "not HTTP at all",
      "",
  };
  for (const std::string& bytes : cases) {
    SCOPED_TRACE(bytes);
    HTTPTestServer server([&](const std::string&, std::size_t) {
      return HTTPTestServer::Reply{bytes, true};
    });
    CurlURLLoader loader("", "");
    const URLResponse response = loader.load(get(server.url()));
    ASSERT_TRUE(response.error);
    EXPECT_EQ(response.error->code, kURLErrorUnknown);
    EXPECT_FALSE(response.error->description.empty());
  }
}

TEST(CurlURLLoader, RefusesABodyOverItsLimit) {
  const std::string body(1000, 'x');
  const struct {
    const char* name;
    std::string bytes;
  } kinds[] = {
      {"announced", httpAnswer(body)},
      {"chunked", "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n3e8\r\n" + body + "\r\n0\r\n\r\n"},
  };
  for (const auto& [name, bytes] : kinds) {
    for (const std::size_t limit : {std::size_t{0}, std::size_t{999}, std::size_t{1000}}) {
      SCOPED_TRACE(std::string(name) + ' ' + std::to_string(limit));
      HTTPTestServer server(alwaysAnswering(bytes));
      CurlURLLoader loader("", "");
      URLRequest request = get(server.url());
      request.maximumBodySize = limit;
      const URLResponse response = loader.load(request);
      EXPECT_EQ(response.error.has_value(), limit < body.size());
      if (response.error) {
        EXPECT_EQ(response.error->description,
                  "The answer is larger than " + std::to_string(limit) + " bytes.");
        EXPECT_LE(response.body.size(), limit);
      } else {
        EXPECT_EQ(response.body, body);
      }
    }
  }
}

TEST(CurlURLLoader, FollowsNoMoreRedirectsThanAllowed) {
  const struct {
    int allowed;
    int status;
    bool fails;
  } cases[] = {{0, 302, false}, {1, 302, true}, {2, 200, false}, {5, 200, false}};
  for (const auto& [allowed, status, fails] : cases) {
    SCOPED_TRACE(allowed);
    HTTPTestServer server([](const std::string&, std::size_t number) {
      const std::string headers = "Hop: " + std::to_string(number) + "\r\nLocation: /next\r\n";
      return HTTPTestServer::Reply{number < 2 ? httpAnswer("moved", "302 Found", headers)
                                              : httpAnswer("here")};
    });
    CurlURLLoader loader("", "");
    URLRequest request = get(server.url());
    request.maximumRedirects = allowed;
    const URLResponse response = loader.load(request);
    EXPECT_EQ(response.statusCode, status);
    EXPECT_EQ(response.error.has_value(), fails);
    if (status == 200) {
      EXPECT_EQ(response.body, "here");
      EXPECT_EQ(response.header("Hop"), std::nullopt);
    }
  }
}

TEST(CurlURLLoader, FollowsRedirectsToTheWebOnly) {
  for (const std::string target : {"file:///etc/passwd", "ftp://127.0.0.1/"}) {
    SCOPED_TRACE(target);
    HTTPTestServer server(alwaysAnswering(httpAnswer("moved", "302 Found", "Location: " + target + "\r\n")));
    CurlURLLoader loader("", "");
    URLRequest request = get(server.url());
    request.maximumRedirects = 5;
    const URLResponse response = loader.load(request);
    EXPECT_TRUE(response.error);
    EXPECT_EQ(server.requests().size(), 1u);
  }
}

TEST(CurlURLLoader, LeavesTheSignalMaskAloneAndSurvivesABrokenConnection) {
  signal(SIGPIPE, SIG_DFL);
  sigset_t before;
  sigset_t after;
  pthread_sigmask(SIG_SETMASK, nullptr, &before);
  CurlURLLoader loader("", "");
  {
    HTTPTestServer server(
        [](const std::string&, std::size_t) { return HTTPTestServer::Reply{httpAnswer("ok")}; });
    EXPECT_FALSE(loader.load(get(server.url())).error);
  }
  HTTPTestServer server([](const std::string&, std::size_t) {
    return HTTPTestServer::Reply{"HTTP/1.1 100 Continue\r\n\r\n", true};
  });
  EXPECT_TRUE(loader.load(post(server.url(), "body")).error);
  pthread_sigmask(SIG_SETMASK, nullptr, &after);
  EXPECT_EQ(sigismember(&before, SIGPIPE), 0);
  EXPECT_EQ(sigismember(&after, SIGPIPE), 0);
}

}  // namespace
}  // namespace lumora
