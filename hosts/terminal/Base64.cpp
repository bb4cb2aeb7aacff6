// Base64 for the commands that read and write settings: the host shows bytes by it. The library's store files
// have their own.
#include "hosts/terminal/Base64.h"

#include <cstdint>

namespace lumora_host {
namespace {

constexpr std::string_view kAlphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

}  // namespace

std::string encodeBase64(const lumora::Data& bytes) {
  std::string text;
  for (std::size_t i = 0; i < bytes.size(); i += 3) {
    std::uint32_t group = 0;
    for (std::size_t j = 0; j < 3; ++j) group = (group << 8) | (i + j < bytes.size() ? bytes[i + j] : 0U);
    for (std::size_t j = 0; j < 4; ++j) {
      const bool isPadding = i + j > bytes.size();
      text += isPadding ? '=' : kAlphabet[(group >> (18 - 6 * j)) & 0x3FU];
    }
  }
  return text;
}

std::optional<lumora::Data> decodeBase64(std::string_view text) {
  if (text.size() % 4 != 0) return std::nullopt;
  for (int i = 0; i < 2 && text.ends_with('='); ++i) text.remove_suffix(1);
  lumora::Data bytes;
  std::uint32_t group = 0;
  int bits = 0;
  for (const char c : text) {
    const std::size_t digit = kAlphabet.find(c);
    if (digit == std::string_view::npos) return std::nullopt;
    group = (group << 6) | static_cast<std::uint32_t>(digit);
    bits += 6;
    if (bits >= 8) {
      bits -= 8;
      bytes.push_back(static_cast<std::uint8_t>(group >> bits));
    }
  }
  return bytes;
}

}  // namespace lumora_host
