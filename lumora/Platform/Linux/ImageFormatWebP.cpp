#include <webp/decode.h>
#include <webp/demux.h>

#include <memory>

#include "lumora/Platform/Linux/ImageFormats.h"

namespace lumora {
namespace {

struct DemuxerDeleter {
  void operator()(WebPDemuxer* demuxer) const noexcept { WebPDemuxDelete(demuxer); }
};
using Demuxer = std::unique_ptr<WebPDemuxer, DemuxerDeleter>;

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

bool isWithinCanvas(const WebPIterator& frame, std::uint32_t canvasWidth, std::uint32_t canvasHeight) {
  const auto reaches = [](int offset, int length) { return static_cast<std::uint32_t>(offset + length); };
  return frame.x_offset >= 0 && frame.y_offset >= 0 && frame.width > 0 && frame.height > 0 &&
         reaches(frame.x_offset, frame.width) <= canvasWidth &&
         reaches(frame.y_offset, frame.height) <= canvasHeight;
}

bool decodes(const WebPData& data) {
  WebPDecoderConfig config;
  if (WebPInitDecoderConfig(&config) == 0) return false;
  // Scaled down while it decodes, the picture is never held as a whole.
  config.options.use_scaling = 1;
  config.options.scaled_width = 1;
  config.options.scaled_height = 1;
  config.output.colorspace = MODE_RGBA;
  const VP8StatusCode status = WebPDecode(data.bytes, data.size, &config);
  WebPFreeDecBuffer(&config.output);
  return status == VP8_STATUS_OK;
}

}  // namespace

bool isWholeWebP(std::string_view bytes) {
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
    if (!isWithinCanvas(frame, width, height) || frame.complete == 0 || !decodes(frame.fragment))
      return false;
  }
  return true;
}

}  // namespace lumora
