#include <gtest/gtest.h>

#include <atomic>
#include <optional>
#include <string>
#include <utility>

#include "lumora/Platform/Linux/CurlURLLoader.h"
#include "service/CertificateAuthority.h"
#include "service/Service.h"
#include "tests/Service/ServiceFolder.h"

namespace lumora::service {
namespace {

using testing_support::ServiceFolder;

/// The loader against the real service over TLS.
class TLSTest : public testing::Test {
 protected:
  void startService(CertificateKind kind) {
    folder_.writeAccounts(R"({"acme": {"secret": "s"}})");
    ServiceOptions options = folder_.options();
    options.certificate = kind;
    options.onRequest = [this](const RequestRecord&) { ++requests_; };
    service_.emplace(options);
  }

  URLResponse load(const std::string& authority, const std::string& host = "acme.lumora.example") {
    CurlURLLoader loader(authority, "127.0.0.1:" + std::to_string(service_->port()));
    URLRequest request;
    request.url = "https://" + host + "/api/v1/sync/s";
    return loader.load(request);
  }

  ServiceFolder folder_;
  std::atomic<int> requests_ = 0;
  std::optional<Service> service_;
};

TEST_F(TLSTest, AcceptsTheCertificateOfTheTrustedAuthority) {
  startService(CertificateKind::good);
  const URLResponse response = load(service_->certificateAuthorityFile());
  EXPECT_FALSE(response.error) << response.error->description;
  EXPECT_EQ(response.body, R"({"success":true})");
}

TEST_F(TLSTest, RefusesBadCertificates) {
  for (const CertificateKind kind :
       {CertificateKind::expired, CertificateKind::wrongHost, CertificateKind::otherAuthority}) {
    SCOPED_TRACE(static_cast<int>(kind));
    startService(kind);
    const URLResponse response = load(service_->certificateAuthorityFile());
    ASSERT_TRUE(response.error);
    EXPECT_EQ(response.error->code, kURLErrorUnknown);
    EXPECT_FALSE(response.error->description.empty());
    EXPECT_EQ(response.statusCode, 0);
  }
  EXPECT_EQ(requests_, 0);
}

TEST_F(TLSTest, TrustsNobodyElse) {
  startService(CertificateKind::good);
  ServiceFolder otherFolder;
  const CertificateAuthority other(otherFolder.path());
  const std::pair<std::string, std::string> cases[] = {
      {"", "acme.lumora.example"},                                       // the system's authorities
      {other.file(), "acme.lumora.example"},                             // another authority
      {otherFolder.path() + "/missing.pem", "acme.lumora.example"},      // no authority at all
      {service_->certificateAuthorityFile(), "lumora.example.invalid"},  // a name outside the certificate
      {service_->certificateAuthorityFile(), "deeper.acme.lumora.example"}};  // two labels for one star
  for (const auto& [authority, host] : cases) {
    SCOPED_TRACE(authority + ' ' + host);
    EXPECT_TRUE(load(authority, host).error);
  }
  EXPECT_EQ(requests_, 0);
}

TEST_F(TLSTest, AConnectionClosedWithoutAnAnswerIsAnError) {
  startService(CertificateKind::good);
  for (const std::string misbehaviour :
       {R"({"drop":"before"})", R"({"drop":"after"})", R"({"truncate":true})"}) {
    SCOPED_TRACE(misbehaviour);
    folder_.writeAccounts(R"({"acme": {"secret": "s", "misbehave": )" + misbehaviour + "}}");
    const URLResponse response = load(service_->certificateAuthorityFile());
    ASSERT_TRUE(response.error);
    EXPECT_EQ(response.error->code, kURLErrorUnknown);
  }
}

}  // namespace
}  // namespace lumora::service
