#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "lumora/Platform/Keychain.h"

namespace lumora {

/// The keychain file is a JSON text. Attributes and values may be any bytes, so all of them are base64:
///
///     {"version": 1, "items": [{"service": "…", "generic": "…", "account": "…", "access_group": "…",
///     "value": "…"}]}
std::string encodeKeychain(const std::vector<KeychainItem>& items);

/// The items of a file; nothing when the text is no keychain file.
std::optional<std::vector<KeychainItem>> decodeKeychain(std::string_view text);

}  // namespace lumora
