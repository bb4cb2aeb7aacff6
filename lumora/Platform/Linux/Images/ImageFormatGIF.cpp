// Whether bytes are one whole GIF: every frame is decoded by rows into one buffer, and thrown away. The time
// that this takes is ImageCheckBudget's to limit.
#include <gif_lib.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <vector>

#include "lumora/Platform/Linux/Images/ImageFormats.h"

namespace lumora {
namespace {

struct GIFDeleter {
  void operator()(GifFileType* gif) const noexcept { DGifCloseFile(gif, nullptr); }
};
using GIFReader = std::unique_ptr<GifFileType, GIFDeleter>;

struct Source {
  std::string_view rest;
  ImageCheckBudget& budget;
};

/// Gives nothing once the time is used up: any amount of compressed data that gives no pixel is decoded in
/// one call.
int readBytes(GifFileType* gif, GifByteType* target, int length) {
  auto& [rest, budget] = *static_cast<Source*>(gif->UserData);
  const std::size_t count = std::min(static_cast<std::size_t>(std::max(length, 0)), rest.size());
  if (!budget.hasTimeAfter(count)) return 0;
  std::memcpy(target, rest.data(), count);
  rest.remove_prefix(count);
  return static_cast<int>(count);
}

bool readFrame(GifFileType* gif, std::vector<GifPixelType>& row) {
  // The other function that reads this keeps a record of every frame.
  if (DGifGetImageHeader(gif) != GIF_OK) return false;
  const GifImageDesc& frame = gif->Image;
  const bool isWithinCanvas = frame.Left >= 0 && frame.Top >= 0 && frame.Width > 0 && frame.Height > 0 &&
                              frame.Left + frame.Width <= gif->SWidth &&
                              frame.Top + frame.Height <= gif->SHeight;
  auto& budget = static_cast<Source*>(gif->UserData)->budget;
  // The library would take a frame of any place and size.
  if (!isWithinCanvas ||
      !budget.takeFrame(static_cast<std::uint64_t>(frame.Width), static_cast<std::uint64_t>(frame.Height)))
    return false;
  row.resize(static_cast<std::size_t>(frame.Width));
  for (int y = 0; y < frame.Height; ++y) {
    if (DGifGetLine(gif, row.data(), frame.Width) != GIF_OK) return false;
  }
  return true;
}

bool skipExtension(GifFileType* gif) {
  int code = 0;
  GifByteType* block = nullptr;
  if (DGifGetExtension(gif, &code, &block) != GIF_OK) return false;
  while (block != nullptr) {
    if (DGifGetExtensionNext(gif, &block) != GIF_OK) return false;
  }
  return true;
}

bool readRecords(GifFileType* gif) {
  std::vector<GifPixelType> row;
  bool hasFrame = false;
  for (;;) {
    GifRecordType record = UNDEFINED_RECORD_TYPE;
    if (DGifGetRecordType(gif, &record) != GIF_OK) return false;
    // Without a frame there is nothing to draw.
    if (record == TERMINATE_RECORD_TYPE) return hasFrame;
    if (record == IMAGE_DESC_RECORD_TYPE) {
      if (!readFrame(gif, row)) return false;
      hasFrame = true;
    } else if (record != EXTENSION_RECORD_TYPE || !skipExtension(gif)) {
      return false;
    }
  }
}

}  // namespace

bool isWholeGIF(std::string_view bytes, ImageCheckBudget& budget) {
  Source source{bytes, budget};
  const GIFReader gif(DGifOpen(&source, readBytes, nullptr));
  if (!gif || gif->SWidth <= 0 || gif->SHeight <= 0) return false;
  const auto width = static_cast<std::uint64_t>(gif->SWidth);
  const auto height = static_cast<std::uint64_t>(gif->SHeight);
  return isAcceptableImageSize(width, height) && readRecords(gif.get());
}

}  // namespace lumora
