#pragma once

#include <string_view>

namespace lumora {

/// Whether the bytes begin with one whole image of a known format, within the limits of `LinuxImageDecoder`.
///
/// A program that is linked with the archive holds the check itself. The shared library takes it from a
/// module beside it, loaded with the first picture, so that a process without pictures maps no image library.
bool isWholeImage(std::string_view bytes) noexcept;

/// How the module names its check.
inline constexpr const char* imageCheckSymbol = "lumoraIsWholeImage";
using ImageCheckFunction = bool(const char* bytes, std::size_t count) noexcept;

}  // namespace lumora
