// Whether bytes are one whole WebP: the frames of its container, and of each the lossy picture, which the
// library decodes, or the lossless one, which WebPLosslessStream.cpp checks within less memory.
#include <webp/decode.h>
#include <webp/demux.h>

#include <algorithm>
#include <memory>

#include "lumora/Platform/Linux/Images/ImageFormats.h"
#include "lumora/Platform/Linux/Images/WebPLosslessStream.h"

namespace lumora {
namespace {

struct DemuxerDeleter {
  void operator()(WebPDemuxer* demuxer) const noexcept { WebPDemuxDelete(demuxer); }
};
using Demuxer = std::unique_ptr<WebPDemuxer, DemuxerDeleter>;

struct DecoderDeleter {
  void operator()(WebPIDecoder* decoder) const noexcept { WebPIDelete(decoder); }
};
using Decoder = std::unique_ptr<WebPIDecoder, DecoderDeleter>;

struct DecoderConfig : WebPDecoderConfig {
  DecoderConfig() = default;
  ~DecoderConfig() { WebPFreeDecBuffer(&output); }
  DecoderConfig(const DecoderConfig&) = delete;
  DecoderConfig& operator=(const DecoderConfig&) = delete;
};

/// Walks over the frames; a still image has one.
class FrameIterator {
 public:
  explicit FrameIterator(const WebPDemuxer* demuxer)
      : hasFrame_(WebPDemuxGetFrame(demuxer, 1, &frame_) != 0) {}
  ~FrameIterator() { WebPDemuxReleaseIterator(&frame_); }
  FrameIterator(const FrameIterator&) = delete;
  FrameIterator& operator=(const FrameIterator&) = delete;

  bool hasFrame() const noexcept { return hasFrame_; }
  const WebPIterator& frame() const noexcept { return frame_; }
  void next() { hasFrame_ = WebPDemuxNextFrame(&frame_) != 0; }

 private:
  WebPIterator frame_ = {};
  bool hasFrame_;
};

/// Takes the chunks off the front of a text, one by one.
class ChunkReader {
 public:
  explicit ChunkReader(std::string_view bytes) noexcept : rest_(bytes) {}

  /// False at the end, or where a chunk is cut off.
  bool next() noexcept {
    if (rest_.size() < headerSize) return false;
    name_ = rest_.substr(0, 4);
    std::size_t size = 0;
    for (std::size_t i = headerSize; i-- > 4;) size = size << 8 | static_cast<unsigned char>(rest_[i]);
    if (size > rest_.size() - headerSize) return false;
    whole_ = rest_.substr(0, headerSize + size);
    // Chunks of odd length are followed by a byte of padding, save perhaps the last.
    rest_.remove_prefix(std::min(rest_.size(), whole_.size() + size % 2));
    return true;
  }

  std::string_view name() const noexcept { return name_; }
  std::string_view content() const noexcept { return whole_.substr(headerSize); }
  std::string_view whole() const noexcept { return whole_; }

 private:
  static constexpr std::size_t headerSize = 8;

  std::string_view rest_;
  std::string_view name_;
  std::string_view whole_;
};

/// The demuxer keeps a record of every chunk, and looks for each frame from the first on.
bool hasFewChunks(std::string_view bytes) {
  constexpr int maximumChunks = 10'000;
  constexpr std::size_t fileHeaderSize = 12;
  ChunkReader chunks(bytes.substr(std::min(bytes.size(), fileHeaderSize)));
  int count = 0;
  while (count <= maximumChunks && chunks.next()) ++count;
  return count <= maximumChunks;
}

bool isWithinCanvas(const WebPIterator& frame, std::uint32_t canvasWidth, std::uint32_t canvasHeight) {
  const auto reaches = [](int offset, int length) { return static_cast<std::uint32_t>(offset + length); };
  return frame.x_offset >= 0 && frame.y_offset >= 0 && frame.width > 0 && frame.height > 0 &&
         reaches(frame.x_offset, frame.width) <= canvasWidth &&
         reaches(frame.y_offset, frame.height) <= canvasHeight;
}

bool isWholeLossyPicture(std::string_view chunk, ImageCheckBudget& budget) {
  DecoderConfig config;
  if (WebPInitDecoderConfig(&config) == 0) return false;
  // Scaled down while it decodes, the picture is never held as a whole.
  config.options.use_scaling = 1;
  config.options.scaled_width = 1;
  config.options.scaled_height = 1;
  // How a pixel looks does not matter, only that it is there.
  config.options.bypass_filtering = 1;
  config.options.no_fancy_upsampling = 1;
  config.output.colorspace = MODE_YUV;
  const Decoder decoder(WebPIDecode(nullptr, 0, &config));
  if (!decoder) return false;
  // By pieces, with a look at the time before each.
  constexpr std::size_t pieceSize = std::size_t{1} << 14;
  VP8StatusCode status = VP8_STATUS_SUSPENDED;
  for (std::size_t size = 0; status == VP8_STATUS_SUSPENDED && size < chunk.size() && budget.hasTime();) {
    size = std::min(size + pieceSize, chunk.size());
    status = WebPIUpdate(decoder.get(), reinterpret_cast<const std::uint8_t*>(chunk.data()), size);
  }
  return status == VP8_STATUS_OK;
}

bool isWholeAlpha(std::string_view content, std::uint32_t width, std::uint32_t height,
                  ImageCheckBudget& budget) {
  constexpr unsigned unknownBits = 0xE2;  // Of the compression, the preprocessing, and those kept for later.
  constexpr unsigned compressed = 1;
  if (content.size() < 2 || (static_cast<unsigned char>(content[0]) & unknownBits) != 0) return false;
  const bool isCompressed = (static_cast<unsigned char>(content[0]) & compressed) != 0;
  content.remove_prefix(1);
  return isCompressed ? isWholeWebPLosslessStream(content, 0, width, height, budget)
                      : content.size() >= std::size_t{width} * height;
}

bool isWholeFrame(const WebPIterator& frame, ImageCheckBudget& budget) {
  const auto width = static_cast<std::uint32_t>(frame.width);
  const auto height = static_cast<std::uint32_t>(frame.height);
  constexpr std::size_t losslessHeaderSize = 5;  // The size once more, which the demuxer has compared.
  ChunkReader chunks({reinterpret_cast<const char*>(frame.fragment.bytes), frame.fragment.size});
  while (chunks.next()) {
    if (chunks.name() == "VP8L")
      return isWholeWebPLosslessStream(chunks.content(), losslessHeaderSize, width, height, budget);
    if (chunks.name() == "VP8 ") return isWholeLossyPicture(chunks.whole(), budget);
    if (chunks.name() == "ALPH" && !isWholeAlpha(chunks.content(), width, height, budget)) return false;
  }
  return false;
}

}  // namespace

bool isWholeWebP(std::string_view bytes, ImageCheckBudget& budget) {
  if (!hasFewChunks(bytes)) return false;
  const WebPData data{reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size()};
  // Gives nothing for a file that is shorter than its header says.
  const Demuxer demuxer(WebPDemux(&data));
  if (!demuxer) return false;
  const std::uint32_t width = WebPDemuxGetI(demuxer.get(), WEBP_FF_CANVAS_WIDTH);
  const std::uint32_t height = WebPDemuxGetI(demuxer.get(), WEBP_FF_CANVAS_HEIGHT);
  if (!isAcceptableImageSize(width, height)) return false;

  FrameIterator frames(demuxer.get());
  if (!frames.hasFrame()) return false;
  for (; frames.hasFrame(); frames.next()) {
    const WebPIterator& frame = frames.frame();
    if (!isWithinCanvas(frame, width, height) || frame.complete == 0) return false;
    if (!budget.takeFrame(static_cast<std::uint64_t>(frame.width), static_cast<std::uint64_t>(frame.height)))
      return false;
    if (!isWholeFrame(frame, budget)) return false;
  }
  return true;
}

}  // namespace lumora
