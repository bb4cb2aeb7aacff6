// The service's own certificate authority, and the server certificates that it issues, those included that a
// client must refuse. Serving by them is HTTPSServer's.
#include "service/CertificateAuthority.h"

#include <openssl/bio.h>
#include <openssl/ec.h>
#include <openssl/pem.h>
#include <openssl/rand.h>
#include <openssl/x509v3.h>

#include <filesystem>
#include <stdexcept>
#include <string_view>

#include "service/Files.h"

namespace lumora::service {
namespace {

constexpr long kDay = 24L * 60 * 60;

struct BIODeleter {
  void operator()(BIO* bio) const noexcept { BIO_free_all(bio); }
};
using BIOPointer = std::unique_ptr<BIO, BIODeleter>;

/// What a certificate says besides its key.
struct CertificateContent {
  const char* commonName;
  /// From now.
  long validFromSeconds;
  long validToSeconds;
};

void require(bool succeeded) {
  if (!succeeded) throw std::runtime_error("A certificate could not be made.");
}

void setSerialNumber(X509* certificate) {
  std::int64_t serial = 0;
  require(RAND_bytes(reinterpret_cast<unsigned char*>(&serial), sizeof serial) == 1);
  ASN1_INTEGER_set_int64(X509_get_serialNumber(certificate), serial & INT64_MAX);
}

/// A certificate with a new key, still without extensions and signature.
Identity unsignedIdentity(const CertificateContent& content) {
  Identity identity;
  identity.key.reset(EVP_EC_gen("P-256"));
  identity.certificate.reset(X509_new());
  require(identity.key && identity.certificate);
  X509* certificate = identity.certificate.get();
  X509_set_version(certificate, X509_VERSION_3);
  setSerialNumber(certificate);
  X509_gmtime_adj(X509_getm_notBefore(certificate), content.validFromSeconds);
  X509_gmtime_adj(X509_getm_notAfter(certificate), content.validToSeconds);
  X509_NAME_add_entry_by_txt(X509_get_subject_name(certificate), "CN", MBSTRING_UTF8,
                             reinterpret_cast<const unsigned char*>(content.commonName), -1, -1, 0);
  require(X509_set_pubkey(certificate, identity.key.get()) == 1);
  return identity;
}

void addExtension(X509* certificate, X509* issuer, int kind, const std::string& value) {
  X509V3_CTX context;
  X509V3_set_ctx_nodb(&context);
  X509V3_set_ctx(&context, issuer, certificate, nullptr, nullptr, 0);
  X509_EXTENSION* extension = X509V3_EXT_conf_nid(nullptr, &context, kind, value.c_str());
  require(extension != nullptr);
  X509_add_ext(certificate, extension, -1);
  X509_EXTENSION_free(extension);
}

void sign(X509* certificate, const Identity& issuer) {
  X509_set_issuer_name(certificate, X509_get_subject_name(issuer.certificate.get()));
  require(X509_sign(certificate, issuer.key.get(), EVP_sha256()) != 0);
}

Identity makeAuthority() {
  Identity identity = unsignedIdentity({"Lumora development authority", -kDay, 3650 * kDay});
  X509* certificate = identity.certificate.get();
  addExtension(certificate, certificate, NID_basic_constraints, "critical,CA:TRUE");
  addExtension(certificate, certificate, NID_key_usage, "critical,keyCertSign,cRLSign");
  addExtension(certificate, certificate, NID_subject_key_identifier, "hash");
  sign(certificate, identity);
  return identity;
}

std::string content(BIO* bio) {
  char* data = nullptr;
  const long length = BIO_get_mem_data(bio, &data);
  return {data, static_cast<std::size_t>(length)};
}

void save(const Identity& identity, const std::string& certificateFile, const std::string& keyFile) {
  const BIOPointer key(BIO_new(BIO_s_mem()));
  const BIOPointer certificate(BIO_new(BIO_s_mem()));
  require(PEM_write_bio_PrivateKey(key.get(), identity.key.get(), nullptr, nullptr, 0, nullptr, nullptr) ==
          1);
  require(PEM_write_bio_X509(certificate.get(), identity.certificate.get()) == 1);
  writePrivateFile(keyFile, content(key.get()));
  writePrivateFile(certificateFile, content(certificate.get()));
}

/// Without a certificate when the two files do not hold an authority with its key.
Identity read(const std::string& certificateFile, const std::string& keyFile) {
  const BIOPointer key(BIO_new_file(keyFile.c_str(), "r"));
  const BIOPointer certificate(BIO_new_file(certificateFile.c_str(), "r"));
  if (!key || !certificate) return {};
  Identity identity;
  identity.key.reset(PEM_read_bio_PrivateKey(key.get(), nullptr, nullptr, nullptr));
  identity.certificate.reset(PEM_read_bio_X509(certificate.get(), nullptr, nullptr, nullptr));
  const bool isWhole = identity.key && identity.certificate &&
                       X509_check_private_key(identity.certificate.get(), identity.key.get()) == 1;
  return isWhole ? std::move(identity) : Identity{};
}

}  // namespace

std::optional<CertificateKind> certificateKindOf(std::string_view name) {
  if (name == "good") return CertificateKind::good;
  if (name == "expired") return CertificateKind::expired;
  if (name == "wrong-host") return CertificateKind::wrongHost;
  if (name == "other-ca") return CertificateKind::otherAuthority;
  return std::nullopt;
}

CertificateAuthority::CertificateAuthority(const std::string& directory)
    : file_(std::filesystem::absolute(directory) / "ca.pem") {
  const std::string keyFile = std::filesystem::path(file_).replace_filename("ca.key");
  authority_ = read(file_, keyFile);
  if (authority_.certificate) return;
  authority_ = makeAuthority();
  save(authority_, file_, keyFile);
}

Identity CertificateAuthority::issue(const std::string& domain, CertificateKind kind) const {
  const bool isExpired = kind == CertificateKind::expired;
  Identity identity = unsignedIdentity(
      {"Lumora development service", isExpired ? -2 * kDay : -kDay, isExpired ? -kDay : 365 * kDay});
  const Identity other = kind == CertificateKind::otherAuthority ? makeAuthority() : Identity{};
  const Identity& issuer = other.certificate ? other : authority_;
  const std::string names = kind == CertificateKind::wrongHost
                                ? "DNS:wrong.invalid"
                                : "DNS:*." + domain + ",DNS:" + domain + ",DNS:localhost,IP:127.0.0.1";

  X509* certificate = identity.certificate.get();
  addExtension(certificate, issuer.certificate.get(), NID_basic_constraints, "critical,CA:FALSE");
  addExtension(certificate, issuer.certificate.get(), NID_ext_key_usage, "serverAuth");
  addExtension(certificate, issuer.certificate.get(), NID_subject_alt_name, names);
  addExtension(certificate, issuer.certificate.get(), NID_authority_key_identifier, "keyid");
  sign(certificate, issuer);
  return identity;
}

}  // namespace lumora::service
