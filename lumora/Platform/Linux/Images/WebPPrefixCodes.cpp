// The bits of a lossless WebP stream, and the prefix codes that its pixels are written in. Which code holds
// for which pixel is decided in WebPLosslessStream.cpp.
#include "lumora/Platform/Linux/Images/WebPPrefixCodes.h"

#include <algorithm>

namespace lumora {

std::uint32_t WebPBitReader::read(int count) noexcept {
  while (available_ < count) {
    const std::uint64_t byte = position_ < bytes_.size() ? static_cast<unsigned char>(bytes_[position_]) : 0;
    buffer_ |= byte << available_;
    ++position_;
    available_ += 8;
  }
  const auto value = static_cast<std::uint32_t>(buffer_ & ((std::uint64_t{1} << count) - 1));
  buffer_ >>= count;
  available_ -= count;
  return value;
}

bool WebPBitReader::isBehindEnd() const noexcept {
  // Decoders begin with eight bytes: those that a shorter stream lacks count as zeros.
  constexpr std::size_t leastSize = 8;
  return position_ * 8 - static_cast<std::size_t>(available_) > std::max(bytes_.size(), leastSize) * 8;
}

bool WebPPrefixCodes::add(std::span<const std::uint8_t> lengths) {
  constexpr std::size_t maximumSymbols = std::size_t{8} << 20;  // Encoders stay far below.
  Code code;
  for (const std::uint8_t length : lengths) ++code.counts[length];
  const std::size_t used = lengths.size() - code.counts[0];
  if (used == 0 || used > maximumSymbols - symbols_.size()) return false;

  std::array<std::size_t, longestCode + 2> offsets{};  // Of each length's next symbol; the last is the end.
  offsets[1] = symbols_.size();
  int open = 1;
  for (std::size_t length = 1; length <= longestCode; ++length) {
    offsets[length + 1] = offsets[length] + code.counts[length];
    open = open * 2 - code.counts[length];
    // More codes than there are words of that length.
    if (open < 0) return false;
  }
  // Words without a symbol; only a code of a single symbol may leave any.
  if (open != 0 && used > 1) return false;

  code.firstSymbol = static_cast<std::uint32_t>(symbols_.size());
  symbols_.resize(symbols_.size() + used);
  for (std::size_t symbol = 0; symbol < lengths.size(); ++symbol) {
    if (lengths[symbol] != 0) symbols_[offsets[lengths[symbol]]++] = static_cast<std::uint16_t>(symbol);
  }
  if (used == 1) code.counts.fill(0);
  code.counts[0] = used == 1 ? 1 : 0;
  codes_.push_back(code);
  return true;
}

std::uint32_t WebPPrefixCodes::readSymbol(WebPBitReader& bits, std::size_t number) const noexcept {
  const Code& code = codes_[number];
  if (code.counts[0] == 1) return symbols_[code.firstSymbol];
  std::uint32_t word = 0;
  std::uint32_t first = 0;  // The first word of the length.
  std::uint32_t index = code.firstSymbol;
  for (int length = 1;; ++length) {  // A complete code ends.
    const std::uint32_t count = code.counts[static_cast<std::size_t>(length)];
    word = word * 2 + bits.read(1);
    first *= 2;
    if (word - first < count) return symbols_[index + (word - first)];
    index += count;
    first += count;
  }
}

bool WebPPrefixCodes::readCode(WebPBitReader& bits, std::size_t alphabetSize) {
  constexpr std::size_t largestAlphabet = 256 + 24 + (1 << 11);
  std::array<std::uint8_t, largestAlphabet> lengths{};
  const std::span<std::uint8_t> alphabet(lengths.data(), alphabetSize);
  if (bits.read(1) == 0) return readLengths(bits, alphabet) && add(alphabet);
  // One or two symbols; one that the alphabet lacks has no code.
  const bool areTwo = bits.read(1) == 1;
  lengths[bits.read(bits.read(1) == 0 ? 1 : 8)] = 1;
  if (areTwo) lengths[bits.read(8)] = 1;
  return add(alphabet);
}

/// The lengths are themselves written in a code, whose own lengths come first.
bool WebPPrefixCodes::readLengths(WebPBitReader& bits, std::span<std::uint8_t> lengths) {
  constexpr std::array<std::uint8_t, 19> order = {17, 18, 0, 1,  2,  3,  4,  5,  16, 6,
                                                  7,  8,  9, 10, 11, 12, 13, 14, 15};
  std::array<std::uint8_t, order.size()> own{};
  const std::uint32_t ownCount = bits.read(4) + 4;
  for (std::size_t i = 0; i < ownCount; ++i) own[order[i]] = static_cast<std::uint8_t>(bits.read(3));
  WebPPrefixCodes lengthCode;
  if (!lengthCode.add(own)) return false;

  std::size_t codesLeft = lengths.size();
  if (bits.read(1) == 1) {
    const int width = 2 + 2 * static_cast<int>(bits.read(3));
    codesLeft = 2 + bits.read(width);
    if (codesLeft > lengths.size()) return false;
  }
  std::uint8_t previous = 8;
  for (std::size_t symbol = 0; symbol < lengths.size() && codesLeft > 0; --codesLeft) {
    const std::uint32_t length = lengthCode.readSymbol(bits, 0);
    if (length <= longestCode) {
      lengths[symbol++] = static_cast<std::uint8_t>(length);
      if (length != 0) previous = static_cast<std::uint8_t>(length);
      continue;
    }
    // The previous length, or zero, several times.
    const std::size_t count = length == 16   ? 3 + bits.read(2)
                              : length == 17 ? 3 + bits.read(3)
                                             : 11 + bits.read(7);
    if (count > lengths.size() - symbol) return false;
    std::ranges::fill(lengths.subspan(symbol, count), length == 16 ? previous : std::uint8_t{0});
    symbol += count;
  }
  return !bits.isBehindEnd();
}

}  // namespace lumora
