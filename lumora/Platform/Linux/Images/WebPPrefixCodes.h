#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

namespace lumora {

/// Gives the lowest bit of a byte first, and zeros behind the end.
class WebPBitReader {
 public:
  WebPBitReader(std::string_view bytes, std::size_t start) noexcept : bytes_(bytes), position_(start) {}
  /// At most 32 bits.
  std::uint32_t read(int count) noexcept;
  bool isBehindEnd() const noexcept;

 private:
  std::string_view bytes_;
  std::size_t position_;
  std::uint64_t buffer_ = 0;
  int available_ = 0;
};

/// The canonical prefix codes of an image, by their number.
class WebPPrefixCodes {
 public:
  /// Reads the next code of an alphabet; false when it is none, or when all codes take too much memory.
  bool readCode(WebPBitReader& bits, std::size_t alphabetSize);
  std::uint32_t readSymbol(WebPBitReader& bits, std::size_t code) const noexcept;

 private:
  static constexpr int longestCode = 15;

  struct Code {
    /// How many symbols have a code of each length; a symbol that is alone takes no bits.
    std::array<std::uint16_t, longestCode + 1> counts{};
    std::uint32_t firstSymbol = 0;
  };

  bool add(std::span<const std::uint8_t> lengths);
  static bool readLengths(WebPBitReader& bits, std::span<std::uint8_t> lengths);

  std::vector<Code> codes_;
  std::vector<std::uint16_t> symbols_;  ///< Of all codes, by the length and the number of the symbol.
};

}  // namespace lumora
