#include "service/Service.h"

#include <gtest/gtest.h>
#include <sqlite3.h>
#include <sys/stat.h>

#include <condition_variable>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <mutex>
#include <optional>
#include <thread>

#include "lumora/Platform/Linux/CurlURLLoader.h"
#include "tests/Service/ServiceFolder.h"

namespace lumora::service {
namespace {

using testing_support::ServiceFolder;
using Headers = std::vector<std::pair<std::string, std::string>>;

constexpr const char* kSuccess = R"({"success":true})";

std::string refused(const std::string& message) {
  return R"({"success":false,"error_message":")" + message + "\"}";
}

std::string contentOf(const std::string& file) {
  std::ifstream stream(file, std::ios::binary);
  return {std::istreambuf_iterator<char>(stream), {}};
}

class ServiceTest : public testing::Test {
 protected:
  void start() {
    ServiceOptions options = folder_.options();
    options.onRequest = [this](const RequestRecord& record) {
      const std::lock_guard lock(mutex_);
      records_.push_back(record);
    };
    service_.emplace(options);
    loader_.emplace(service_->certificateAuthorityFile(), "127.0.0.1:" + std::to_string(service_->port()));
  }

  void start(const std::string& accounts) {
    folder_.writeAccounts(accounts);
    start();
  }

  URLResponse send(const std::string& method, const std::string& path, const Headers& headers = {},
                   const std::string& body = "", const std::string& account = "acme") {
    URLRequest request;
    request.method = method;
    request.url = "https://" + account + ".lumora.example" + path;
    request.headers = headers;
    request.body = body;
    return loader_->load(request);
  }

  URLResponse get(const std::string& path, const Headers& headers = {}) { return send("GET", path, headers); }

  URLResponse report(const std::string& body, const std::string& query = "") {
    return send("POST", "/report/events/" + query, {{"sec", "s3"}, {"uuid", "u-1"}}, body);
  }

  /// The rows of a query, their columns joined by "|".
  std::vector<std::string> rows(const char* sql) {
    sqlite3* database = nullptr;
    sqlite3_open((folder_.path() + "/data/service.sqlite").c_str(), &database);
    std::vector<std::string> result;
    const auto addRow = [](void* target, int count, char** values, char**) {
      std::string row;
      for (int i = 0; i < count; ++i)
        row += (i == 0 ? "" : "|") + std::string(values[i] == nullptr ? "NULL" : values[i]);
      static_cast<std::vector<std::string>*>(target)->push_back(row);
      return 0;
    };
    EXPECT_EQ(sqlite3_exec(database, sql, addRow, &result, nullptr), SQLITE_OK) << sqlite3_errmsg(database);
    sqlite3_close(database);
    return result;
  }

  std::vector<std::string> storedEvents() { return rows("SELECT event FROM events ORDER BY id"); }

  ServiceFolder folder_;
  std::mutex mutex_;
  std::vector<RequestRecord> records_;
  std::optional<Service> service_;
  std::optional<CurlURLLoader> loader_;
};

TEST_F(ServiceTest, AnswersASyncWithTheAccountsContent) {
  start(R"({"acme": {"secret": "s3", "blocked": false, "lst": 1478003131, "config": {"syncTimeOut": 3},
           "campaigns": [{"cid": "c1"}], "access_key": "hidden"}})");
  const URLResponse response = get("/api/v1/sync/s3?lst=0");
  EXPECT_EQ(response.statusCode, 200);
  EXPECT_EQ(
      response.body,
      R"({"success":true,"blocked":false,"lst":1478003131,"config":{"syncTimeOut":3},"inapp":[{"cid":"c1"}]})");
  EXPECT_TRUE(response.header("ETag"));
}

TEST_F(ServiceTest, AnswersAnUnchangedSyncWithoutContent) {
  start(R"({"acme": {"secret": "s3", "lst": 1}})");
  const std::string tag = get("/api/v1/sync/s3").header("ETag").value_or("");
  const URLResponse unchanged = get("/api/v1/sync/s3", {{"If-None-Match", tag}});
  EXPECT_EQ(unchanged.statusCode, 304);
  EXPECT_EQ(unchanged.body, "");
  EXPECT_FALSE(unchanged.error);

  folder_.writeAccounts(R"({"acme": {"secret": "s3", "lst": 2}})");
  const URLResponse changed = get("/api/v1/sync/s3", {{"If-None-Match", tag}});
  EXPECT_EQ(changed.statusCode, 200);
  EXPECT_EQ(changed.body, R"({"success":true,"lst":2})");
  EXPECT_NE(changed.header("ETag"), tag);
}

TEST_F(ServiceTest, KeepsTheAccountsOfABrokenFile) {
  start(R"({"acme": {"secret": "s3"}})");
  EXPECT_EQ(get("/api/v1/sync/s3").body, kSuccess);
  testing::internal::CaptureStderr();
  folder_.writeAccounts("{ half");
  EXPECT_EQ(get("/api/v1/sync/s3").body, kSuccess);
  EXPECT_NE(testing::internal::GetCapturedStderr(), "");
}

TEST_F(ServiceTest, RefusesUnknownCallers) {
  start(
      R"({"acme": {"secret": "s3"}, "safe": {"secret": "s4", "access_key": "k+y", "config": {"secure_mode": true}}})");
  const struct {
    std::string account;
    std::string method;
    std::string path;
    std::string secret;
    int status;
    std::string body;
  } cases[] = {
      {"ACME", "GET", "/api/v1/sync/s3", "", 200, kSuccess},
      {"acme", "GET", "/api/v1/sync/s4", "", 200, refused("Wrong secret.")},
      {"acme", "GET", "/api/v1/sync/", "", 200, refused("Wrong secret.")},
      {"other", "GET", "/api/v1/sync/s3", "", 200, refused("Unknown account.")},
      {"other", "POST", "/report/events/", "s3", 200, refused("Unknown account.")},
      {"acme", "POST", "/report/events/", "s4", 200, refused("Wrong secret.")},
      {"acme", "POST", "/report/events/", "", 200, refused("Wrong secret.")},
      {"acme", "POST", "/report/events/", "s3", 200, kSuccess},
      {"safe", "POST", "/report/events/", "s4", 200, refused("Wrong access key.")},
      {"safe", "POST", "/report/events/?ak=k%20y&sign=s&ts=1&email=a@b.c", "s4", 200,
       refused("Wrong access key.")},
      {"safe", "POST", "/report/events/?ak=k+y&sign=s&ts=1", "s4", 200,
       refused("Missing security signature.")},
      {"safe", "POST", "/report/events/?ak=k+y&sign=s&ts=&email=a@b.c", "s4", 200,
       refused("Missing security signature.")},
      {"safe", "POST", "/report/events/?ak=k+y&sign=s&ts=1&email=a+b@b.c", "s4", 200, kSuccess},
      {"acme", "GET", "/report/events/", "s3", 405, refused("Wrong method.")},
      {"acme", "POST", "/api/v1/sync/s3", "", 405, refused("Wrong method.")},
      {"acme", "GET", "/", "", 404, refused("There is nothing at this path.")},
  };
  for (const auto& test : cases) {
    SCOPED_TRACE(test.account + ' ' + test.method + ' ' + test.path + ' ' + test.secret);
    Headers headers;
    if (!test.secret.empty()) headers.emplace_back("sec", test.secret);
    const URLResponse response = send(test.method, test.path, headers, "", test.account);
    EXPECT_EQ(response.statusCode, test.status);
    EXPECT_EQ(response.body, test.body);
  }
}

TEST_F(ServiceTest, StoresTheEventsOfAReport) {
  start(R"({"acme": {"secret": "s3"}})");
  EXPECT_EQ(report("{\"a\":1}\n{\"b\":\"\\n\"}").body, kSuccess);
  EXPECT_EQ(rows("SELECT account, uuid, event, received > 1e9 FROM events ORDER BY id"),
            (std::vector<std::string>{R"(acme|u-1|{"a":1}|1)", R"(acme|u-1|{"b":"\n"}|1)"}));
  ASSERT_EQ(records_.size(), 1u);
  EXPECT_EQ(records_[0].method, "POST");
  EXPECT_EQ(records_[0].path, "/report/events/");
  EXPECT_EQ(records_[0].account, "acme");
  EXPECT_EQ(records_[0].bodySize, 18u);
  EXPECT_EQ(records_[0].status, 200);
  EXPECT_EQ(records_[0].events, 2u);
  EXPECT_EQ(
      records_[0].headers,
      (Headers{{"Content-Length", "18"}, {"Host", "acme.lumora.example"}, {"sec", "s3"}, {"uuid", "u-1"}}));
}

TEST_F(ServiceTest, RefusesAReportWithABrokenLineWhole) {
  start(R"({"acme": {"secret": "s3"}})");
  for (const std::string body :
       {"{\"a\":1}\n{\"b\"", "{\"a\":1}\n\n{\"b\":1}", "[{\"a\":1}]", "\n", "{}{}"}) {
    EXPECT_EQ(report(body).body, refused("A line of the report is not a JSON object.")) << body;
  }
  EXPECT_EQ(storedEvents(), std::vector<std::string>{});
}

TEST_F(ServiceTest, RegistersEachDeviceNameOnce) {
  start(R"({"acme": {"secret": "s3"}, "other": {"secret": "s"}})");
  const std::string path = "/api/v1/test_device?name=Ada's%20phone&push_token=beef&token=t1&device_type=ios";
  const std::string used = refused("The device name is already used.");
  EXPECT_EQ(get(path).body, kSuccess);
  EXPECT_EQ(get(path).body, used);
  EXPECT_EQ(get("/api/v1/test_device?name=Ada's%20phone&token=t2").body, used);
  EXPECT_EQ(get("/api/v1/test_device?name=second&token=t2&device_type=ios").body, kSuccess);
  EXPECT_EQ(send("GET", path, {}, "", "other").body, kSuccess);
  EXPECT_EQ(get("/api/v1/test_device?name=third").body, refused("Missing name or token."));
  EXPECT_EQ(
      rows("SELECT account, name, push_token, token, device_type FROM test_devices ORDER BY account, name"),
      (std::vector<std::string>{"acme|Ada's phone|beef|t1|ios", "acme|second||t2|ios",
                                "other|Ada's phone|beef|t1|ios"}));
}

TEST_F(ServiceTest, GivesAssetsAndNoOtherFile) {
  start("{}");
  folder_.writeAsset("a b.png", "pixels");
  std::filesystem::create_directory(folder_.path() + "/assets/folder");
  const URLResponse found = get("/assets/a%20b.png");
  EXPECT_EQ(found.body, "pixels");
  EXPECT_EQ(found.header("Content-Type"), "image/png");
  for (const std::string name :
       {"", "missing.png", "folder", ".", "..", "../accounts.json", "%2e%2e%2faccounts.json",
        "folder/../a%20b.png", "/etc/passwd", "%2fetc%2fpasswd", "a%20b.png%00"}) {
    EXPECT_EQ(get("/assets/" + name).statusCode, 404) << name;
  }
}

TEST_F(ServiceTest, MisbehavesAsTold) {
  start("{}");
  const struct {
    std::string misbehaviour;
    bool answers;
    int status;
    std::string body;
    std::size_t stored;
  } cases[] = {
      {R"({"endpoint": "sync", "drop": "before"})", true, 200, kSuccess, 1},
      {R"({"status": 500})", true, 500, kSuccess, 1},
      {R"({"endpoint": "report", "body": "<html>"})", true, 200, "<html>", 0},
      {R"({"body": {"success": false}, "status": 503})", true, 503, R"({"success":false})", 0},
      {R"({"drop": "before"})", false, 0, "", 0},
      {R"({"drop": "after"})", false, 0, "", 1},
      {R"({"truncate": true})", false, 200, R"({"succes)", 1},
      {R"([{"endpoint": "sync", "status": 500}, {"endpoint": "report", "status": 404}])", true, 404, kSuccess,
       1},
  };
  std::size_t stored = 0;
  for (const auto& test : cases) {
    SCOPED_TRACE(test.misbehaviour);
    folder_.writeAccounts(R"({"acme": {"secret": "s3", "misbehave": )" + test.misbehaviour + "}}");
    const URLResponse response = report("{}");
    EXPECT_EQ(!response.error.has_value(), test.answers);
    EXPECT_EQ(response.statusCode, test.status);
    EXPECT_EQ(response.body, test.body);
    stored += test.stored;
    EXPECT_EQ(storedEvents().size(), stored);
  }
}

TEST_F(ServiceTest, MisbehavesAsOftenAsTold) {
  start(R"({"acme": {"secret": "s3", "misbehave": {"status": 500, "times": 2}}})");
  for (const int status : {500, 500, 200, 200}) EXPECT_EQ(get("/api/v1/sync/s3").statusCode, status);
}

TEST_F(ServiceTest, EndsAtOnceWhateverItsConnectionsDo) {
  start(R"({"acme": {"secret": "s3", "misbehave": {"delay_ms": 86400000, "times": 1}}})");
  // Of two requests one is delayed for a day. Once the other is answered, its connection stays open and idle.
  std::mutex mutex;
  std::condition_variable changed;
  int answers = 0;
  std::vector<std::thread> clients;
  for (int i = 0; i < 2; ++i) {
    clients.emplace_back([&] {
      get("/api/v1/sync/s3");
      const std::lock_guard lock(mutex);
      ++answers;
      changed.notify_one();
    });
  }
  {
    std::unique_lock lock(mutex);
    changed.wait(lock, [&] { return answers == 1; });
  }
  service_.reset();
  for (std::thread& client : clients) client.join();
}

TEST_F(ServiceTest, KeepsItsAuthorityAndItsSecrets) {
  start("{}");
  const std::string authority = contentOf(service_->certificateAuthorityFile());
  service_.reset();
  start();
  EXPECT_EQ(contentOf(service_->certificateAuthorityFile()), authority);
  EXPECT_FALSE(get("/assets/x").error);

  struct stat status = {};
  ASSERT_EQ(stat((folder_.path() + "/data/ca.key").c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0777, 0600u);
  ASSERT_EQ(stat((folder_.path() + "/data").c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0777, 0700u);
}

TEST_F(ServiceTest, SaysWhyItCannotStart) {
  start("{}");
  ServiceOptions samePort = folder_.options();
  samePort.port = service_->port();
  ServiceOptions badDomain = folder_.options();
  badDomain.domain = "lumora.example,DNS:*.com";
  ServiceOptions badFolder = folder_.options();
  badFolder.dataDirectory = folder_.path() + "/accounts.json";
  for (const ServiceOptions& options : {samePort, badDomain, badFolder}) {
    EXPECT_THROW(Service{options}, std::runtime_error);
  }
}

}  // namespace
}  // namespace lumora::service
