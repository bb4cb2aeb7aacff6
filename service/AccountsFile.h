#pragma once

#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "service/CertificateAuthority.h"

namespace lumora::service {

using JSON = nlohmann::ordered_json;

/// The content of an accounts file.
struct AccountsFile {
  /// The accounts by their identifiers. A value of another kind than its key takes is left out.
  JSON accounts;
  /// What the service shows instead of what its options say.
  std::optional<CertificateKind> certificate;
  /// What is odd about it, each with its line and key: "line 3: …".
  std::vector<std::string> notices;
};

/// Reads it. Throws std::runtime_error, whose text says where, when it is no accounts file.
AccountsFile parseAccountsFile(std::string_view text);

}  // namespace lumora::service
