#pragma once

#include <cstdint>
#include <string_view>

#include "lumora/Platform/Linux/Images/ImageCheckBudget.h"

namespace lumora {

/// Whether a stream of the lossless format, which begins behind so many bytes, holds all pixels of a picture.
///
/// The library keeps such a picture as a whole, and a few bits of input make it reserve kilobytes for code
/// tables. What decides whether a stream is whole takes less: the prefix codes, and the small image that says
/// which of them hold where. Throws std::bad_alloc only.
bool isWholeWebPLosslessStream(std::string_view bytes, std::size_t start, std::uint32_t width,
                               std::uint32_t height, ImageCheckBudget& budget);

}  // namespace lumora
