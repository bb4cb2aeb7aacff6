#include "service/Service.h"

#include <gmock/gmock.h>
#include <openssl/bio.h>
#include <openssl/ssl.h>

#include <algorithm>
#include <mutex>
#include <semaphore>
#include <thread>
#include <tuple>

#include "lumora/Platform/Linux/Network/CurlURLLoader.h"
#include "service/Files.h"
#include "tests/Storage/SQLiteConnection.h"
#include "tests/Support/TemporaryFolder.h"
#include "tests/Support/TestFiles.h"

namespace lumora::service {
namespace {

namespace fs = std::filesystem;
using ::testing::HasSubstr, ::testing::StartsWith;
using testing::TemporaryFolder;
using Headers = std::vector<std::pair<std::string, std::string>>;
using Texts = std::vector<std::string>;

constexpr const char* kSuccess = R"({"success":true})";

/// JSON is easier to read in a table with single quotes.
std::string quoted(std::string text) {
  std::ranges::replace(text, '\'', '"');
  return text;
}

/// The service in the test's process; its client is the library's own URL loader.
struct ServiceTest : ::testing::Test {
  ServiceTest() {
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
    loader_.emplace(service_->certificateAuthorityFile(), address());
  }

  std::string address() const { return "127.0.0.1:" + std::to_string(service_->port()); }

  URLResponse send(const std::string& method, const std::string& path, const Headers& headers = {},
                   const std::string& body = "") {
    return loader_->load({"https://acme.lumora.example" + path, method, headers, body, {}, {}});
  }
  URLResponse get(const std::string& path, const Headers& headers = {}) { return send("GET", path, headers); }
  URLResponse sync(const Headers& headers = {}) { return get("/api/v1/sync/s3", headers); }
  URLResponse report(const std::string& body) {
    return send("POST", "/report/events/", {{"sec", "s3"}, {"uuid", "u-1"}}, body);
  }

  /// Sends the bytes on a connection of its own and reads until the service ends it.
  std::string answerUntilTheEnd(const std::string& bytes) const {
    const std::shared_ptr<SSL_CTX> tls(SSL_CTX_new(TLS_client_method()), SSL_CTX_free);
    const std::shared_ptr<BIO> connection(BIO_new_ssl_connect(tls.get()), BIO_free_all);
    BIO_set_conn_hostname(connection.get(), address().c_str());
    std::string answer, part(999, ' ');
    std::size_t count = 0;
    BIO_write_ex(connection.get(), bytes.data(), bytes.size(), &count);
    while (BIO_read_ex(connection.get(), part.data(), part.size(), &count) == 1)
      answer += part.substr(0, count);
    return answer;
  }

  Texts rows(const char* sql) { return tests::SQLiteConnection(folder_ / "data/service.sqlite").texts(sql); }
  Texts events() { return rows("SELECT account || uuid || event FROM events WHERE received > 1e9"); }

  std::vector<RequestRecord> records() {
    const std::lock_guard lock(mutex_);
    return records_;
  }

  TemporaryFolder folder_;
  ServiceOptions options_;
  std::mutex mutex_;
  std::vector<RequestRecord> records_;
  std::optional<Service> service_;
  std::optional<CurlURLLoader> loader_;
};

TEST_F(ServiceTest, AnswersASyncUntilNothingHasChanged) {
  start(quoted("{'acme': {'secret': 's3', 'access_key': 'k', 'lst': 9, 'campaigns': [{'cid': 'c'}]}}"));
  const URLResponse first = sync();
  EXPECT_EQ(first.body, R"({"success":true,"lst":9,"inapp":[{"cid":"c"}]})");
  const Headers known{{"If-None-Match", first.header("ETag").value_or("")}};
  EXPECT_EQ(sync(known).statusCode, 304);
  writeAccounts(R"({"acme": {"secret": "s3", "lst": 2}})");
  EXPECT_EQ(sync(known).body, R"({"success":true,"lst":2})");
}

TEST_F(ServiceTest, SaysWhatIsWrongWithTheAccountsFileAndWhere) {
  start();
  const auto said = [&] {
    ::testing::internal::CaptureStderr();
    EXPECT_THAT(sync().body, StartsWith(R"({"success":true)")) << "the account stays, or is still good";
    return ::testing::internal::GetCapturedStderr();
  };
  const std::string good = "{\n'acme': {\n'secret': 's3'";
  const std::pair<std::string, std::string> cases[] = {
      {"{ half", "parse error at line 1, column 15"},
      {"[]", "it has no object 'accounts'"},
      {good + "}}, 'acounts': {}", "line 3: unknown key 'acounts'"},
      {good + ",\n'blokced': 1}}", "line 4: unknown key 'blokced'"},
      {good + ", 'config': {\n'secure': 1}}}", "line 4: unknown key 'secure'"},
      {good + ", 'misbehave': {\n'tims': 1}}}", "line 4: unknown key 'tims'"},
      {good + ", 'misbehave': [{}, {'body': {'any': 1},\n'drop': 1}]}}", "line 4: 'drop' must be"},
      {good + ", 'misbehave': {'delay_ms': 1e300}}}", "line 3: 'delay_ms' must be"},
      {good + "},\n'a.b': {'secret': 's'}}", "line 4: no host name begins"},
      {good + "},\n'open': {}}", "line 4: the account 'open' has no 'secret'"}};
  for (const auto& [accounts, message] : cases) {
    writeAccounts(quoted(accounts));
    EXPECT_THAT(said(), HasSubstr(quoted(message))) << accounts;
    EXPECT_EQ(said(), "") << "said once";
  }
  fs::remove(options_.accountsFile);
  EXPECT_THAT(said(), HasSubstr("No such file"));
}

TEST_F(ServiceTest, EndsTheConnectionOfARefusedRequestAndSaysWhy) {
  start(
      quoted("{'acme': {'secret': 's3'}, 'open': {}, 'safe': {'secret': 's4', 'access_key': 'k+y', "
             "'config': {'secure_mode': true}}}"));
  const std::string sync = "GET /api/v1/sync/s3", report = "POST /report/events/", sec = "sec: s4\r\n";
  const std::string end = "\r\n", close = "Connection: close\r\n\r\n";
  const std::string device = "GET /api/v1/test_device?name=Ada's%20phone?";
  const std::tuple<const char*, std::string, std::string, int, std::string> cases[] = {
      {"ACME", sync + "?a=b?c", close, 200, ""},
      {"acme", sync, "Content-Length: 9\r\n\r\nGET / HTT", 200, ""},
      {"acme", device + "&push_token=beef&token=t1&device_type=ios", close, 200, ""},
      {"acme", "GET /api/v1/sync/s4", end, 200, "Wrong secret."},
      {"open", "GET /api/v1/sync/", end, 200, "Wrong secret."},
      {"other", sync, end, 200, "Unknown account."},
      {"acme", report, sec + end, 200, "Wrong secret."},
      {"safe", report + "?ak=k%20y&sign=s&ts=1&email=a@b.c", sec + end, 200, "Wrong access key."},
      {"safe", report + "?ak=k+y&sign=s&ts=&email=a@b.c", sec + end, 200, "Missing security signature."},
      {"safe", report + "?ak=k+y&sign=s?&ts=1&email=a+b@b.c", sec + close, 200, ""},
      {"safe", report, "sec: s%34\r\n\r\n", 200, "Wrong secret."},
      {"acme", device + "&token=t2", end, 200, "The device name is already used."},
      {"acme", device, end, 200, "Missing name or token."},
      {"acme", "POST /api/v1/sync/s3", end, 405, "Wrong method."},
      {"acme", "GET /", end, 404, "There is nothing at this path."},
      {"acme", report, "Content-Length: -1\r\n\r\n", 400, "The Content-Length is no number."},
      {"acme", report, "Content-Length: 99999999999\r\n\r\n", 413, "The report is larger than 64 MiB."},
      {"acme", report, "Transfer-Encoding: chunked\r\n\r\nzz\r\n", 400, "The report did not come whole."},
      {"acme", sync, "Range: all\r\n\r\n", 416, "The Range header is no range."},
      {"acme", "no request", end, 400, "This is no HTTP/1.1 request"},
      {"acme", sync, "X: " + std::string(70'000, 'x'), 431, "The request's headers are larger than 64 KiB."}};
  for (const auto& [account, line, rest, status, reason] : cases) {
    SCOPED_TRACE(std::string(account) + ' ' + line + ' ' + rest.substr(0, 40));
    const std::string answer =
        answerUntilTheEnd(line + " HTTP/1.1\r\nHost: " + account + ".lumora.example\r\n" + rest);
    EXPECT_THAT(answer, StartsWith("HTTP/1.1 " + std::to_string(status) + ' '));
    EXPECT_THAT(answer, HasSubstr(reason.empty() ? kSuccess : R"("error_message":")" + reason));
    EXPECT_THAT(records().back().refusal, StartsWith(reason));
  }
  EXPECT_EQ(records().size(), std::size(cases)) << "no body was taken for a request";
  EXPECT_EQ(records()[0].query, "a=b?c");
  EXPECT_EQ(rows("SELECT account || name || push_token || token || device_type FROM test_devices"),
            Texts{"acmeAda's phone?beeft1ios"});
}

TEST_F(ServiceTest, StoresTheEventsOfAReportOrRefusesItWhole) {
  start();
  EXPECT_EQ(report("{\"a\":1}\n{\"b\":\"\\n\"}").body, kSuccess);
  const RequestRecord seen = records().at(0);
  EXPECT_EQ(seen.method + seen.path + seen.account, "POST/report/events/acme");
  EXPECT_EQ(seen.events, 2U);
  EXPECT_EQ(seen.headers.size(), 4U) << "Content-Length, Host, sec and uuid, and none of the server's own";
  for (const std::string body : {"{'a':1}\n{'b'", "{'a':1}\n\n{'b':1}", "[{'a':1}]", "\n", "{}{}"})
    EXPECT_THAT(report(quoted(body)).body, HasSubstr("A line of the report is not a JSON object.")) << body;
  EXPECT_EQ(events(), (Texts{R"(acmeu-1{"a":1})", R"(acmeu-1{"b":"\n"})"}));
}

TEST_F(ServiceTest, GivesAssetsAndNoOtherFile) {
  start();
  fs::create_directories(folder_ / "assets/folder");
  testing::writeFile(folder_ / "assets/a b.png", "pixels");
  EXPECT_EQ(get("/assets/a%20b.png").body, "pixels");
  EXPECT_EQ(get("/assets/a%20b.png").header("Content-Type"), "image/png");
  for (const std::string name : {"", "missing.png", "folder", ".", "..", "../accounts.json", "a%20b.png%00",
                                 "%2e%2e%2faccounts.json", "folder/../a%20b.png", "%2fetc%2fpasswd"})
    EXPECT_EQ(get("/assets/" + name).statusCode, 404) << name;
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
  // What else is changed in the file lets a misbehaviour count on; a change of its own makes it begin anew.
  writeAccounts(R"({"acme": {"secret": "s3", "lst": 1, "misbehave": {"status": 500, "times": 2}}})");
  EXPECT_EQ(sync().statusCode, 200);
  writeAccounts(R"({"acme": {"secret": "s3", "misbehave": {"status": 501, "times": 1}}})");
  for (const int status : {501, 200}) EXPECT_EQ(sync().statusCode, status);
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

TEST_F(ServiceTest, ShowsTheCertificateThatTheAccountsFileNames) {
  start();
  EXPECT_FALSE(sync().error);
  writePrivateFile(options_.accountsFile,
                   R"({"accounts": {"acme": {"secret": "s3"}}, "certificate": "expired"})");
  EXPECT_FALSE(sync().error) << "the connection is open, and ends with this";
  EXPECT_TRUE(sync().error);
  writeAccounts(R"({"acme": {"secret": "s3"}})");
  EXPECT_EQ(service_->certificate(), CertificateKind::good) << "as the options say";
  EXPECT_FALSE(sync().error);
}

TEST_F(ServiceTest, KeepsItsAuthorityAndItsSecretsAndSaysWhyItCannotStart) {
  start();
  const std::string authority = testing::readFile(folder_ / "data/ca.pem");
  start();
  EXPECT_EQ(testing::readFile(folder_ / "data/ca.pem"), authority);
  EXPECT_FALSE(sync().error);
  const URLRequest known{"https://acme.lumora.example/", "GET", {}, {}, {}, {}},
      other{"https://acme.other.example/", "GET", {}, {}, {}, {}};
  EXPECT_TRUE(CurlURLLoader("", address()).load(known).error) << "no authority of the system's";
  EXPECT_TRUE(loader_->load(other).error) << "no name in its certificate";
  EXPECT_EQ(testing::modeOf(folder_ / "data/ca.key"), 0600U);
  EXPECT_EQ(testing::modeOf(folder_ / "data"), 0700U);
  ServiceOptions samePort = options_, badDomain = options_, badFolder = options_;
  samePort.port = service_->port();
  badDomain.domain = "lumora.example,DNS:*.com";
  badFolder.dataDirectory = options_.accountsFile;
  for (const ServiceOptions& options : {samePort, badDomain, badFolder})
    EXPECT_THROW(Service{options}, std::runtime_error);
}

}  // namespace
}  // namespace lumora::service
