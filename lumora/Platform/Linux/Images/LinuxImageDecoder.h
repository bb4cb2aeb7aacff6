#pragma once

#include "lumora/Platform/ImageDecoder.h"

namespace lumora {

/// Knows PNG, JPEG, GIF and WebP, the last two with animations. An image counts when all of it decodes; what
/// follows the image's end in the bytes does not matter.
///
/// A check takes at most 64 MiB, and a second of the calling thread's processor time. Refused are therefore
/// progressive JPEGs of more than some 20 megapixels in colour (10 without subsampling), animations whose
/// frames have more than 128 megapixels together or that have more than 10,000 chunks (WebP), and whatever
/// takes longer, such as a PNG of 64 megapixels in 16 bits a channel.
class LinuxImageDecoder : public ImageDecoder {
 public:
  bool isImage(std::string_view bytes) override;
};

}  // namespace lumora
