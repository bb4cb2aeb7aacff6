// Tells images from other bytes. Each format has a source of its own; what a picture may cost is in
// ImageCheckBudget.cpp.
#include "lumora/Platform/Linux/Images/LinuxImageDecoder.h"

#include <exception>

#include "lumora/Platform/Linux/Images/ImageFormats.h"

namespace lumora {

bool LinuxImageDecoder::isImage(std::string_view bytes) try {
  using namespace std::string_view_literals;
  ImageCheckBudget budget;
  if (bytes.starts_with("\x89PNG\r\n\x1A\n"sv)) return isWholePNG(bytes, budget);
  if (bytes.starts_with("\xFF\xD8\xFF"sv)) return isWholeJPEG(bytes, budget);
  if (bytes.starts_with("GIF87a"sv) || bytes.starts_with("GIF89a"sv)) return isWholeGIF(bytes, budget);
  if (bytes.starts_with("RIFF"sv) && bytes.substr(4).substr(0, 8).ends_with("WEBP"sv))
    return isWholeWebP(bytes, budget);
  return false;
} catch (const std::exception&) {
  // Not enough memory for it.
  return false;
}

}  // namespace lumora
