#include "service/Service.h"

#include <gtest/gtest.h>

#include <mutex>
#include <optional>
#include <semaphore>
#include <thread>
#include <tuple>

#include "lumora/Platform/Linux/CurlURLLoader.h"
#include "service/CertificateAuthority.h"
#include "service/PrivateFile.h"
#include "tests/Storage/SQLiteConnection.h"
#include "tests/Support/TemporaryFolder.h"
#include "tests/Support/TestFiles.h"

namespace lumora::service {
namespace {

namespace fs = std::filesystem;
using testing::TemporaryFolder;
using Headers = std::vector<std::pair<std::string, std::string>>;
using Texts = std::vector<std::string>;

constexpr const char* kSuccess = R"({"success":true})";

std::string refused(const std::string& message) {
  return R"({"success":false,"error_message":")" + message + "\"}";
}

/// The service in the test's process; its client is the library's own URL loader.
struct ServiceTest : ::testing::Test {
  ServiceTest() {
    fs::create_directory(folder_ / "assets");
    options_.accountsFile = folder_ / "accounts.json";
    options_.dataDirectory = folder_ / "data";
    options_.assetsDirectory = folder_ / "assets";
    options_.onRequest = [this](const RequestRecord& record) {
      const std::lock_guard lock(mutex_);
      records_.push_back(record);
    };
  }

  /// Replaces the accounts. A new file each time, so that the service notices however fast the changes come.
  void writeAccounts(const std::string& accounts) {
    writePrivateFile(options_.accountsFile, R"({"accounts":)" + accounts + "}");
  }

  void start(const std::string& accounts = R"({"acme": {"secret": "s3"}})") {
    writeAccounts(accounts);
    service_.emplace(options_);
    authority_ = service_->certificateAuthorityFile();
    loader_.emplace(authority_, address());
  }

  std::string address() const { return "127.0.0.1:" + std::to_string(service_->port()); }

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
  URLResponse sync(const Headers& headers = {}) { return get("/api/v1/sync/s3", headers); }
  URLResponse report(const std::string& body) {
    return send("POST", "/report/events/", {{"sec", "s3"}, {"uuid", "u-1"}}, body);
  }

  Texts rows(const char* sql) { return tests::SQLiteConnection(folder_ / "data/service.sqlite").texts(sql); }
  Texts events() { return rows("SELECT account || uuid || event FROM events WHERE received > 1e9"); }

  TemporaryFolder folder_;
  ServiceOptions options_;
  std::vector<RequestRecord> records() {
    const std::lock_guard lock(mutex_);
    return records_;
  }

  std::mutex mutex_;
  std::vector<RequestRecord> records_;
  std::optional<Service> service_;
  std::string authority_;
  std::optional<CurlURLLoader> loader_;
};

TEST_F(ServiceTest, AnswersASyncUntilNothingHasChanged) {
  start(
      R"({"acme": {"secret": "s3", "lst": 9, "config": {}, "campaigns": [{"cid": "c"}], "access_key": "k"}})");
  const URLResponse first = sync();
  EXPECT_EQ(first.body, R"({"success":true,"lst":9,"config":{},"inapp":[{"cid":"c"}]})");
  const Headers known{{"If-None-Match", first.header("ETag").value_or("")}};
  const URLResponse unchanged = sync(known);
  EXPECT_EQ(unchanged.statusCode, 304);
  EXPECT_FALSE(unchanged.error);
  writeAccounts(R"({"acme": {"secret": "s3", "lst": 2}})");
  const URLResponse changed = sync(known);
  EXPECT_EQ(changed.body, R"({"success":true,"lst":2})");
  EXPECT_NE(changed.header("ETag"), first.header("ETag"));
  ::testing::internal::CaptureStderr();
  writeAccounts("{ half");
  EXPECT_EQ(sync().body, changed.body) << "a broken file leaves the accounts as they were";
  EXPECT_NE(::testing::internal::GetCapturedStderr(), "");
}

TEST_F(ServiceTest, RefusesUnknownCallers) {
  start(
      R"({"acme": {"secret": "s3"}, "safe": {"secret": "s4", "access_key": "k+y", "config": {"secure_mode": true}}})");
  const std::string events = "/report/events/";
  const std::tuple<const char*, const char*, std::string, const char*, int, const char*> cases[] = {
      {"ACME", "GET", "/api/v1/sync/s3", "", 200, ""},
      {"acme", "GET", "/api/v1/sync/s4", "", 200, "Wrong secret."},
      {"other", "GET", "/api/v1/sync/s3", "", 200, "Unknown account."},
      {"acme", "POST", events, "", 200, "Wrong secret."},
      {"safe", "POST", events + "?ak=k%20y&sign=s&ts=1&email=a@b.c", "s4", 200, "Wrong access key."},
      {"safe", "POST", events + "?ak=k+y&sign=s&ts=&email=a@b.c", "s4", 200, "Missing security signature."},
      {"safe", "POST", events + "?ak=k+y&sign=s&ts=1&email=a+b@b.c", "s4", 200, ""},
      {"acme", "GET", events, "s3", 405, "Wrong method."},
      {"acme", "POST", "/api/v1/sync/s3", "", 405, "Wrong method."},
      {"acme", "GET", "/", "", 404, "There is nothing at this path."}};
  for (const auto& [account, method, path, secret, status, message] : cases) {
    SCOPED_TRACE(std::string(account) + ' ' + method + ' ' + path + ' ' + secret);
    const URLResponse response = send(method, path, {{"sec", secret}}, "", account);
    EXPECT_EQ(response.statusCode, status);
    EXPECT_EQ(response.body, *message ? refused(message) : kSuccess);
  }
}

TEST_F(ServiceTest, StoresTheEventsOfAReportOrRefusesItWhole) {
  start();
  EXPECT_EQ(report("{\"a\":1}\n{\"b\":\"\\n\"}").body, kSuccess);
  const auto seen = records();
  ASSERT_EQ(seen.size(), 1U);
  EXPECT_EQ(seen[0].method + seen[0].path + seen[0].account, "POST/report/events/acme");
  EXPECT_EQ(seen[0].events, 2U);
  EXPECT_EQ(
      seen[0].headers,
      (Headers{{"Content-Length", "18"}, {"Host", "acme.lumora.example"}, {"sec", "s3"}, {"uuid", "u-1"}}));
  for (const std::string body :
       {"{\"a\":1}\n{\"b\"", "{\"a\":1}\n\n{\"b\":1}", "[{\"a\":1}]", "\n", "{}{}"}) {
    EXPECT_EQ(report(body).body, refused("A line of the report is not a JSON object.")) << body;
  }
  EXPECT_EQ(events(), (Texts{R"(acmeu-1{"a":1})", R"(acmeu-1{"b":"\n"})"}));
}

TEST_F(ServiceTest, RegistersEachDeviceNameOnce) {
  start();
  const std::string path = "/api/v1/test_device?name=Ada's%20phone&push_token=beef&token=t1&device_type=ios";
  EXPECT_EQ(get(path).body, kSuccess);
  EXPECT_EQ(get(path).body, refused("The device name is already used."));
  EXPECT_EQ(get("/api/v1/test_device?name=second&token=t2").body, kSuccess);
  EXPECT_EQ(get("/api/v1/test_device?name=third").body, refused("Missing name or token."));
  EXPECT_EQ(rows("SELECT account || name || push_token || token || device_type FROM test_devices"),
            (Texts{"acmeAda's phonebeeft1ios", "acmesecondt2"}));
}

TEST_F(ServiceTest, GivesAssetsAndNoOtherFile) {
  start();
  testing::writeFile(folder_ / "assets/a b.png", "pixels");
  fs::create_directory(folder_ / "assets/folder");
  EXPECT_EQ(get("/assets/a%20b.png").body, "pixels");
  EXPECT_EQ(get("/assets/a%20b.png").header("Content-Type"), "image/png");
  for (const std::string name :
       {"", "missing.png", "folder", ".", "..", "../accounts.json", "%2e%2e%2faccounts.json",
        "folder/../a%20b.png", "/etc/passwd", "%2fetc%2fpasswd", "a%20b.png%00"}) {
    EXPECT_EQ(get("/assets/" + name).statusCode, 404) << name;
  }
}

TEST_F(ServiceTest, MisbehavesAsToldAndAsOften) {
  start();
  const std::tuple<std::string, bool, int, std::string, std::size_t> cases[] = {
      {R"({"endpoint": "sync", "drop": "before"})", true, 200, kSuccess, 1},
      {R"({"endpoint": "report", "body": "<html>"})", true, 200, "<html>", 0},
      {R"({"body": {"success": false}, "status": 503})", true, 503, R"({"success":false})", 0},
      {R"({"drop": "before"})", false, 0, "", 0},
      {R"({"drop": "after"})", false, 0, "", 1},
      {R"({"truncate": true})", false, 200, R"({"succes)", 1},
      {R"([{"endpoint": "sync", "status": 500}, {"status": 404}])", true, 404, kSuccess, 1}};
  std::size_t stored = 0;
  for (const auto& [misbehaviour, answers, status, body, stores] : cases) {
    SCOPED_TRACE(misbehaviour);
    writeAccounts(R"({"acme": {"secret": "s3", "misbehave": )" + misbehaviour + "}}");
    const URLResponse response = report("{}");
    EXPECT_EQ(response.error ? response.error->code : 0, answers ? 0 : kURLErrorUnknown);
    EXPECT_EQ(response.statusCode, status);
    EXPECT_EQ(response.body, body);
    stored += stores;
    EXPECT_EQ(events().size(), stored);
  }
  writeAccounts(R"({"acme": {"secret": "s3", "misbehave": {"status": 500, "times": 2}}})");
  for (const int status : {500, 500, 200, 200}) EXPECT_EQ(sync().statusCode, status);
}

TEST_F(ServiceTest, EndsAtOnceWhateverItsConnectionsDo) {
  start(R"({"acme": {"secret": "s3", "misbehave": {"delay_ms": 86400000, "times": 1}}})");
  // Of two requests one is delayed for a day. Once the other is answered, its connection stays open and idle.
  std::counting_semaphore<> answers(0);
  const auto client = [&] {
    sync();
    answers.release();
  };
  const std::jthread first(client), second(client);
  answers.acquire();
  service_.reset();
}

TEST_F(ServiceTest, KeepsItsAuthorityAndItsSecretsAndSaysWhyItCannotStart) {
  start();
  const std::string authority = testing::readFile(authority_);
  service_.reset();
  start();
  EXPECT_EQ(testing::readFile(authority_), authority);
  EXPECT_FALSE(sync().error);
  EXPECT_EQ(testing::modeOf(folder_ / "data/ca.key"), 0600U);
  EXPECT_EQ(testing::modeOf(folder_ / "data"), 0700U);
  ServiceOptions samePort = options_;
  samePort.port = service_->port();
  ServiceOptions badDomain = options_;
  badDomain.domain = "lumora.example,DNS:*.com";
  ServiceOptions badFolder = options_;
  badFolder.dataDirectory = options_.accountsFile;
  for (const ServiceOptions& options : {samePort, badDomain, badFolder})
    EXPECT_THROW(Service{options}, std::runtime_error);
}

TEST_F(ServiceTest, TheLoaderTrustsNobodyButTheAuthority) {
  for (const CertificateKind kind :
       {CertificateKind::expired, CertificateKind::wrongHost, CertificateKind::otherAuthority}) {
    options_.certificate = kind;
    start();
    const URLResponse response = sync();
    EXPECT_EQ(response.error ? response.error->code : 0, kURLErrorUnknown) << static_cast<int>(kind);
    EXPECT_EQ(response.statusCode, 0);
  }
  options_.certificate = CertificateKind::good;
  start();
  const TemporaryFolder other;
  for (const std::string& file :
       {std::string(), CertificateAuthority(other.path()).file(), other / "missing.pem"}) {
    loader_.emplace(file, address());
    EXPECT_TRUE(sync().error) << "trusting " << file;
  }
  loader_.emplace(authority_, address());
  URLRequest request;
  for (const std::string host : {"lumora.example.invalid", "deeper.acme.lumora.example"}) {
    request.url = "https://" + host + "/api/v1/sync/s3";
    EXPECT_TRUE(loader_->load(request).error) << host;
  }
  EXPECT_TRUE(records().empty());
  EXPECT_FALSE(sync().error);
}

}  // namespace
}  // namespace lumora::service
