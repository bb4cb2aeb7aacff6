#pragma once

#include <cstdint>
#include <string_view>

#include "lumora/Platform/Linux/Images/ImageCheckBudget.h"

namespace lumora {

/// Larger images are refused from their header, before anything is reserved for them.
constexpr bool isAcceptableImageSize(std::uint64_t width, std::uint64_t height) noexcept {
  constexpr std::uint64_t maximumPixels = std::uint64_t{64} * 1000 * 1000;
  return width > 0 && height > 0 && width <= maximumPixels && height <= maximumPixels / width;
}

// Whether the bytes begin with one whole image of the format. Every pixel is decoded, by rows where the
// library allows it, and thrown away; a check takes at most 64 MiB. They write nothing to standard error;
// they throw std::bad_alloc only.

bool isWholePNG(std::string_view bytes, ImageCheckBudget& budget);
bool isWholeJPEG(std::string_view bytes, ImageCheckBudget& budget);
bool isWholeGIF(std::string_view bytes, ImageCheckBudget& budget);
bool isWholeWebP(std::string_view bytes, ImageCheckBudget& budget);

}  // namespace lumora
