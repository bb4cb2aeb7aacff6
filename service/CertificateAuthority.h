#pragma once

#include <openssl/evp.h>
#include <openssl/x509.h>

#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace lumora::service {

struct KeyDeleter {
  void operator()(EVP_PKEY* key) const noexcept { EVP_PKEY_free(key); }
};
struct CertificateDeleter {
  void operator()(X509* certificate) const noexcept { X509_free(certificate); }
};

/// A certificate with its private key.
struct Identity {
  std::unique_ptr<EVP_PKEY, KeyDeleter> key;
  std::unique_ptr<X509, CertificateDeleter> certificate;
};

/// What the service shows to its clients. All but the first must be refused by them.
enum class CertificateKind { good, expired, wrongHost, otherAuthority };

/// By the name that people write: good, expired, wrong-host or other-ca.
std::optional<CertificateKind> certificateKindOf(std::string_view name);

/// The certificate authority of one data folder. Its certificate, `ca.pem`, is what clients are told to
/// trust; its key, `ca.key`, is readable by its owner only. Both are made once and then kept.
class CertificateAuthority {
 public:
  /// Reads the authority from the folder, or makes it there. Throws std::runtime_error when neither is
  /// possible.
  explicit CertificateAuthority(const std::string& directory);

  /// The PEM file to trust.
  const std::string& file() const noexcept { return file_; }

  /// A new server certificate for every name under the domain, the domain, `localhost` and 127.0.0.1.
  Identity issue(const std::string& domain, CertificateKind kind) const;

 private:
  std::string file_;
  Identity authority_;
};

}  // namespace lumora::service
