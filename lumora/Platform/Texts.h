#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace lumora {

// Texts made of many parts. The formatting library does the same with code for each kind of part, which a
// small library feels.

/// Two lower-case digits for each byte.
inline std::string hexadecimalText(const std::vector<std::uint8_t>& bytes) {
  constexpr std::string_view digits = "0123456789abcdef";
  std::string text;
  text.reserve(bytes.size() * 2);
  for (const std::size_t byte : bytes) {
    text += digits[byte / 16];
    text += digits[byte % 16];
  }
  return text;
}

/// The texts in one, with the separator between each two.
template <typename Texts>
std::string joined(const Texts& texts, std::string_view separator) {
  std::string whole;
  bool isFirst = true;
  for (const auto& text : texts) {
    if (!std::exchange(isFirst, false)) whole += separator;
    whole += text;
  }
  return whole;
}

}  // namespace lumora
