#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "lumora/Platform/Value.h"

namespace lumora_host {

std::string encodeBase64(const lumora::Data& bytes);

/// Gives nothing when the text is not base64 with its padding.
std::optional<lumora::Data> decodeBase64(std::string_view text);

}  // namespace lumora_host
