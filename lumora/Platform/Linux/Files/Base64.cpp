// Base64 for the store files, whose JSON holds no bytes. Decoding is strict: what the encoder cannot have
// written is a damaged file (KeychainFormat.cpp, SettingsFormat.cpp).
#include "lumora/Platform/Linux/Files/Base64.h"

#include <algorithm>

namespace lumora {
namespace {

constexpr std::string_view kDigits = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

}  // namespace

std::string base64Encoded(std::span<const std::uint8_t> bytes) {
  std::string text;
  text.reserve((bytes.size() + 2) / 3 * 4);
  for (std::size_t i = 0; i < bytes.size(); i += 3) {
    const std::size_t count = std::min<std::size_t>(3, bytes.size() - i);
    std::uint32_t group = 0;
    for (std::size_t j = 0; j < 3; ++j) group = group << 8U | (j < count ? bytes[i + j] : 0U);
    for (std::size_t j = 0; j < 4; ++j) text += j <= count ? kDigits[group >> (18U - 6U * j) & 63U] : '=';
  }
  return text;
}

std::string base64Encoded(std::string_view bytes) {
  return base64Encoded(std::span(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size()));
}

std::optional<std::vector<std::uint8_t>> base64Decoded(std::string_view text) {
  if (text.size() % 4 != 0) return std::nullopt;
  std::vector<std::uint8_t> bytes;
  bytes.reserve(text.size() / 4 * 3);
  std::uint32_t bits = 0;
  unsigned bitCount = 0;
  for (const char c : text.substr(0, text.find('='))) {
    const auto digit = kDigits.find(c);
    if (digit == std::string_view::npos) return std::nullopt;
    bits = bits << 6U | static_cast<std::uint32_t>(digit);
    bitCount += 6;
    if (bitCount < 8) continue;
    bitCount -= 8;
    bytes.push_back(static_cast<std::uint8_t>(bits >> bitCount));
    bits &= (1U << bitCount) - 1U;
  }
  // Padding that is too long, stands in the middle, or hides bits does not encode back to the same text.
  if (base64Encoded(bytes) != text) return std::nullopt;
  return bytes;
}

}  // namespace lumora
