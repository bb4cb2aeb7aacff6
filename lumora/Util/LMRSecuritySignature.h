#pragma once

#include <memory>
#include <optional>
#include <string>

#include "lumora/Util/Archivable.h"

namespace lumora {

/// What an account in secure mode needs for its uploads: made by the host from what its own server signed,
/// and handed to `Lumora::setSecureSignature`. Immutable; any thread.
///
///     auto signature = lumora::LMRSecuritySignature::initWithAccessKey(key, signed, stamp,
///     "ada@example.com"); if (signature) lumora::Lumora::sharedInstance().setSecureSignature(signature);
class LUMORA_EXPORT LMRSecuritySignature : public Archivable {
 public:
  using Text = std::optional<std::string>;

  /// Gives null, after a line that names the first bad field, unless every field has a text and the e-mail
  /// address is one.
  static std::shared_ptr<LMRSecuritySignature> initWithAccessKey(const Text& accessKey, const Text& signature,
                                                                 const Text& timestamp, const Text& email);
  /// Reads the fields back without checking them.
  static std::shared_ptr<LMRSecuritySignature> initWithCoder(const Coder& coder);
  void encodeWithCoder(Coder& coder) const override;

  const Text& getAccessKey() const noexcept { return accessKey_; }
  const Text& getSignature() const noexcept { return signature_; }
  const Text& getTimeStamp() const noexcept { return timeStamp_; }
  const Text& getEmail() const noexcept { return email_; }

  /// Whether every field is good; the first bad one is logged.
  bool isValid() const;

 private:
  LMRSecuritySignature() = default;

  Text accessKey_;
  Text signature_;
  Text timeStamp_;
  Text email_;
};

}  // namespace lumora
