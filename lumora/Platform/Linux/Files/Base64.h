#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace lumora {

std::string base64Encoded(std::span<const std::uint8_t> bytes);
std::string base64Encoded(std::string_view bytes);

/// Gives nothing for a text that the encoder could not have made.
std::optional<std::vector<std::uint8_t>> base64Decoded(std::string_view text);

}  // namespace lumora
