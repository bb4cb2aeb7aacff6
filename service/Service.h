#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "service/CertificateAuthority.h"
#include "service/RequestRecord.h"

namespace lumora::service {

struct ServiceOptions {
  /// 0 picks a free one.
  int port = 0;
  std::string accountsFile;
  /// Made when missing, mode 0700.
  std::string dataDirectory;
  std::string assetsDirectory;
  std::string domain = "lumora.example";
  CertificateKind certificate = CertificateKind::good;
  /// Called for each request before its answer is sent, from several threads at once.
  std::function<void(const RequestRecord&)> onRequest = [](const RequestRecord&) {};
};

/// The service on 127.0.0.1, over HTTPS. It answers from its construction to its destruction, which waits for
/// answers under way but for nothing else.
class Service {
 public:
  /// Throws std::runtime_error when the service cannot start.
  explicit Service(ServiceOptions options);
  ~Service();
  Service(const Service&) = delete;
  Service& operator=(const Service&) = delete;

  int port() const noexcept;
  /// The PEM file that clients are to trust.
  const std::string& certificateAuthorityFile() const noexcept;

  /// What clients see: what the accounts file says, or else the options. The file is looked at, as with every
  /// request. Any thread.
  CertificateKind certificate();
  /// How many clients have come to no request since that is shown.
  std::int64_t failedHandshakes() const noexcept;
  /// How often each misbehaviour of the account has struck since the accounts file has changed, in its order.
  std::vector<std::int64_t> strikes(const std::string& account);

 private:
  struct State;
  std::unique_ptr<State> state_;
};

}  // namespace lumora::service
