#pragma once

#include "lumora/Platform/ImageDecoder.h"

namespace lumora {

/// Knows PNG, JPEG, GIF and WebP, the last two with animations. An image counts when all of it decodes; what
/// follows the image's end in the bytes does not matter.
class LUMORA_EXPORT LinuxImageDecoder : public ImageDecoder {
 public:
  bool isImage(std::string_view bytes) override;
};

}  // namespace lumora
