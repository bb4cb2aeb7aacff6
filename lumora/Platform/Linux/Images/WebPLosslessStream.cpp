// Walks through a lossless WebP stream to see whether it holds all its pixels, without keeping them. Codes
// are read in WebPPrefixCodes.cpp, the container around the stream in ImageFormatWebP.cpp.
#include "lumora/Platform/Linux/Images/WebPLosslessStream.h"

#include <algorithm>
#include <array>
#include <vector>

#include "lumora/Platform/Linux/Images/WebPPrefixCodes.h"

namespace lumora {
namespace {

using Pixels = std::vector<std::uint32_t>;

struct Size {
  std::uint32_t width;
  std::uint32_t height;

  std::size_t pixels() const noexcept { return std::size_t{width} * height; }
  /// In blocks of two to that power.
  Size inBlocks(int bits) const noexcept {
    const std::uint32_t mask = (1U << bits) - 1;
    return {(width + mask) >> bits, (height + mask) >> bits};
  }
};

constexpr std::uint32_t literals = 256;
constexpr std::uint32_t copyCodes = 24;
constexpr std::size_t codesInGroup =
    5;  ///< Green (with copies and cached colours), red, blue, alpha, distance.

/// One of the images of a stream: the picture itself, or one that steers its decoding.
struct EntropyImage {
  Size size;
  int cacheBits = 0;
  int blockBits = 0;
  Pixels groups;  ///< Of each block; empty when one group holds for all.
  WebPPrefixCodes codes;
};

/// Near pixels have short codes: 16 × the rows above + 8 - the columns to the left.
std::size_t distanceOf(std::uint32_t code, std::uint32_t width) {
  static constexpr std::array<std::uint8_t, 120> near = {
      0x18, 0x07, 0x17, 0x19, 0x28, 0x06, 0x27, 0x29, 0x16, 0x1a, 0x26, 0x2a, 0x38, 0x05, 0x37,
      0x39, 0x15, 0x1b, 0x36, 0x3a, 0x25, 0x2b, 0x48, 0x04, 0x47, 0x49, 0x14, 0x1c, 0x35, 0x3b,
      0x46, 0x4a, 0x24, 0x2c, 0x58, 0x45, 0x4b, 0x34, 0x3c, 0x03, 0x57, 0x59, 0x13, 0x1d, 0x56,
      0x5a, 0x23, 0x2d, 0x44, 0x4c, 0x55, 0x5b, 0x33, 0x3d, 0x68, 0x02, 0x67, 0x69, 0x12, 0x1e,
      0x66, 0x6a, 0x22, 0x2e, 0x54, 0x5c, 0x43, 0x4d, 0x65, 0x6b, 0x32, 0x3e, 0x78, 0x01, 0x77,
      0x79, 0x53, 0x5d, 0x11, 0x1f, 0x64, 0x6c, 0x42, 0x4e, 0x76, 0x7a, 0x21, 0x2f, 0x75, 0x7b,
      0x31, 0x3f, 0x63, 0x6d, 0x52, 0x5e, 0x00, 0x74, 0x7c, 0x41, 0x4f, 0x10, 0x20, 0x62, 0x6e,
      0x30, 0x73, 0x7d, 0x51, 0x5f, 0x40, 0x72, 0x7e, 0x61, 0x6f, 0x50, 0x71, 0x7f, 0x60, 0x70};
  if (code > near.size()) return code - near.size();
  const int position = near[code - 1];
  const auto distance = static_cast<std::int64_t>(position >> 4) * width + 8 - (position & 15);
  return static_cast<std::size_t>(std::max<std::int64_t>(distance, 1));
}

class LosslessStream {
 public:
  LosslessStream(const WebPBitReader& bits, ImageCheckBudget& budget) : bits_(bits), budget_(budget) {}

  bool isWhole(Size size) {
    while (bits_.read(1) == 1) {
      if (!skipTransform(size)) return false;
    }
    EntropyImage picture{size, 0, 0, {}, {}};
    if (!readCacheBits(picture)) return false;
    std::uint32_t groupCount = 1;
    if (bits_.read(1) == 1) {
      picture.blockBits = static_cast<int>(bits_.read(3)) + 2;
      if (!readImage(size.inBlocks(picture.blockBits), &picture.groups)) return false;
      for (std::uint32_t& group : picture.groups) {
        // The format writes the number into red and green.
        group = group >> 8 & 0xFFFF;
        groupCount = std::max(groupCount, group + 1);
      }
    }
    return readCodes(picture, groupCount) && readPixels(picture, nullptr);
  }

 private:
  /// What it does to the pixels does not matter; its palette may pack several of them into one.
  bool skipTransform(Size& size) {
    enum Type : std::uint32_t { predictor, crossColor, subtractGreen, palette };
    const std::uint32_t type = bits_.read(2);
    if ((transformsSeen_ >> type & 1) != 0) return false;
    transformsSeen_ |= 1U << type;
    if (type == subtractGreen) return true;
    if (type != palette) return readImage(size.inBlocks(static_cast<int>(bits_.read(3)) + 2), nullptr);
    const std::uint32_t colors = bits_.read(8) + 1;
    const int packing = colors > 16 ? 0 : colors > 4 ? 1 : colors > 2 ? 2 : 3;
    size.width = Size{size.width, 1}.inBlocks(packing).width;
    return readImage({colors, 1}, nullptr);
  }

  /// Reads an image with one group of codes, and its pixels when they are asked for.
  bool readImage(Size size, Pixels* pixels) {
    EntropyImage image{size, 0, 0, {}, {}};
    return readCacheBits(image) && readCodes(image, 1) && readPixels(image, pixels);
  }

  bool readCacheBits(EntropyImage& image) {
    constexpr int maximum = 11;
    if (bits_.read(1) == 0) return true;
    image.cacheBits = static_cast<int>(bits_.read(4));
    return image.cacheBits >= 1 && image.cacheBits <= maximum;
  }

  bool readCodes(EntropyImage& image, std::uint32_t groupCount) {
    const std::uint32_t cacheSize = image.cacheBits == 0 ? 0 : 1U << image.cacheBits;
    const std::array<std::size_t, codesInGroup> alphabets = {literals + copyCodes + cacheSize, 256, 256, 256,
                                                             40};
    for (std::uint32_t group = 0; group < groupCount; ++group) {
      if (!budget_.hasTime()) return false;
      for (const std::size_t alphabet : alphabets) {
        if (!image.codes.readCode(bits_, alphabet) || bits_.isBehindEnd()) return false;
      }
    }
    return true;
  }

  std::uint32_t readCopyValue(std::uint32_t symbol) {
    if (symbol < 4) return symbol + 1;
    const int extraBits = static_cast<int>(symbol - 2) >> 1;
    return ((2 + (symbol & 1)) << extraBits) + bits_.read(extraBits) + 1;
  }

  bool readPixels(const EntropyImage& image, Pixels* pixels);

  WebPBitReader bits_;
  ImageCheckBudget& budget_;
  std::uint32_t transformsSeen_ = 0;
};

/// Where the next pixel goes, and the colours so far when somebody wants them.
class Canvas {
 public:
  Canvas(const EntropyImage& image, Pixels* pixels) : image_(image), pixels_(pixels) {
    if (!pixels_) return;
    pixels_->reserve(image.size.pixels());
    cache_.resize(std::size_t{1} << image.cacheBits);
  }

  std::size_t pixelsLeft() const noexcept { return image_.size.pixels() - count_; }
  std::size_t count() const noexcept { return count_; }

  /// The number of the first code that holds here.
  std::size_t firstCode() const noexcept {
    if (image_.groups.empty()) return 0;
    const std::size_t row =
        std::size_t{y_ >> image_.blockBits} * image_.size.inBlocks(image_.blockBits).width;
    return image_.groups[row + (x_ >> image_.blockBits)] * codesInGroup;
  }

  void add(std::uint32_t color) {
    if (pixels_) {
      pixels_->push_back(color);
      // The hash is the format's own.
      if (image_.cacheBits > 0) cache_[0x1E35A7BDU * color >> (32 - image_.cacheBits)] = color;
    }
    advance(1);
  }

  void addCached(std::size_t index) { add(pixels_ ? cache_[index] : 0); }

  void copy(std::size_t distance, std::uint32_t length) {
    if (!pixels_) return advance(length);
    for (std::uint32_t i = 0; i < length; ++i) add((*pixels_)[count_ - distance]);
  }

 private:
  void advance(std::uint32_t length) noexcept {
    count_ += length;
    x_ += length;
    while (x_ >= image_.size.width) {
      x_ -= image_.size.width;
      ++y_;
    }
  }

  const EntropyImage& image_;
  Pixels* const pixels_;
  Pixels cache_;
  std::size_t count_ = 0;
  std::uint32_t x_ = 0;
  std::uint32_t y_ = 0;
};

bool LosslessStream::readPixels(const EntropyImage& image, Pixels* pixels) {
  constexpr std::uint32_t symbolsBetweenLooks = 4096;
  Canvas canvas(image, pixels);
  for (std::uint32_t symbols = 1; canvas.pixelsLeft() > 0; ++symbols) {
    if (bits_.isBehindEnd() || (symbols % symbolsBetweenLooks == 0 && !budget_.hasTime())) return false;
    const std::size_t code = canvas.firstCode();
    const std::uint32_t symbol = image.codes.readSymbol(bits_, code);
    if (symbol < literals) {
      const std::uint32_t red = image.codes.readSymbol(bits_, code + 1);
      const std::uint32_t blue = image.codes.readSymbol(bits_, code + 2);
      const std::uint32_t alpha = image.codes.readSymbol(bits_, code + 3);
      canvas.add(alpha << 24 | red << 16 | symbol << 8 | blue);
    } else if (symbol < literals + copyCodes) {
      const std::uint32_t length = readCopyValue(symbol - literals);
      const std::uint32_t distanceCode = readCopyValue(image.codes.readSymbol(bits_, code + 4));
      const std::size_t distance = distanceOf(distanceCode, image.size.width);
      // A copy from before the first pixel, or beyond the last, is no picture's.
      if (distance > canvas.count() || length > canvas.pixelsLeft()) return false;
      canvas.copy(distance, length);
    } else {
      canvas.addCached(symbol - literals - copyCodes);
    }
  }
  return !bits_.isBehindEnd();
}

}  // namespace

bool isWholeWebPLosslessStream(std::string_view bytes, std::size_t start, std::uint32_t width,
                               std::uint32_t height, ImageCheckBudget& budget) {
  return LosslessStream(WebPBitReader(bytes, start), budget).isWhole({width, height});
}

}  // namespace lumora
