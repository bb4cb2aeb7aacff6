#pragma once

#include <algorithm>
#include <string_view>

namespace lumora {

// The C library's classification functions follow the process's locale; the texts of protocols do not.

constexpr bool isASCIIDigit(char c) noexcept {
  return c >= '0' && c <= '9';
}
constexpr bool isASCIILetter(char c) noexcept {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}
constexpr char toASCIILower(char c) noexcept {
  return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

constexpr bool equalsIgnoringCase(std::string_view left, std::string_view right) noexcept {
  return std::ranges::equal(left, right, [](char a, char b) { return toASCIILower(a) == toASCIILower(b); });
}

/// The value of a hexadecimal digit, or -1.
constexpr int hexDigitValue(char c) noexcept {
  if (isASCIIDigit(c)) return c - '0';
  const char lower = toASCIILower(c);
  return lower >= 'a' && lower <= 'f' ? lower - 'a' + 10 : -1;
}

}  // namespace lumora
