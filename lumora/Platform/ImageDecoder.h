#pragma once

#include <string_view>

#include "lumora/Platform/Export.h"

namespace lumora {

/// Tells images from other bytes.
///
/// Thread safety: may be called from several threads at once. It never throws.
class LUMORA_EXPORT ImageDecoder {
 public:
  virtual ~ImageDecoder() = default;
  /// Whether the bytes are one whole image in a format that the display can draw. An image of more than 64
  /// megapixels is refused, without the memory that it would take being spent; so is one whose check would
  /// take much more time or memory than a picture for a screen does. Bytes come from servers: no input may
  /// take more than about a second and 64 MiB.
  virtual bool isImage(std::string_view bytes) = 0;
};

/// Passes everything to another decoder; a base for a host that adds a format.
class LUMORA_EXPORT ForwardingImageDecoder : public ImageDecoder {
 public:
  explicit ForwardingImageDecoder(ImageDecoder& next) : next_(next) {}
  bool isImage(std::string_view bytes) override { return next_.isImage(bytes); }

 private:
  ImageDecoder& next_;
};

}  // namespace lumora
