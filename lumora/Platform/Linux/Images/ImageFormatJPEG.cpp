// Whether bytes are one whole JPEG: every coefficient is decoded, at an eighth of the size, and thrown away.
// The time that this takes is ImageCheckBudget's to limit.

// The library's header needs FILE and size_t declared before it.
#include <cstdio>

#include <jpeglib.h>

#include <jerror.h>

#include <csetjmp>
#include <vector>

#include "lumora/Platform/Linux/Images/ImageFormats.h"

namespace lumora {
namespace {

/// Owns everything that a jump out of the library would leave behind.
class JPEGReader {
 public:
  explicit JPEGReader(const ImageCheckBudget& budget) : budget_(budget) {
    decoder_.err = jpeg_std_error(&errors_);
    decoder_.client_data = this;
    errors_.error_exit = leave;
    errors_.emit_message = noteWarning;
    errors_.output_message = [](j_common_ptr) {};
    progress_.progress_monitor = limitWork;
  }
  ~JPEGReader() { jpeg_destroy_decompress(&decoder_); }
  JPEGReader(const JPEGReader&) = delete;
  JPEGReader& operator=(const JPEGReader&) = delete;

  bool decode(std::string_view bytes) {
    // Nothing with a destructor may live in this frame: the library's errors jump back to here.
    if (setjmp(errorReturn_) != 0) return false;
    jpeg_create_decompress(&decoder_);
    decoder_.progress = &progress_;
    // A progressive image is held as a whole; one that does not fit is an error to the library.
    decoder_.mem->max_memory_to_use = 60L << 20;
    jpeg_mem_src(&decoder_, reinterpret_cast<const unsigned char*>(bytes.data()), bytes.size());
    jpeg_read_header(&decoder_, TRUE);
    if (!isAcceptableImageSize(decoder_.image_width, decoder_.image_height)) return false;
    // An eighth of the size still reads every coefficient, but spares the time and memory of the pixels.
    decoder_.scale_num = 1;
    decoder_.scale_denom = 8;
    decoder_.out_color_space = decoder_.jpeg_color_space;
    decoder_.do_block_smoothing = FALSE;
    jpeg_start_decompress(&decoder_);
    readRows();
    jpeg_finish_decompress(&decoder_);
    return true;
  }

 private:
  void readRows() {
    row_.resize(static_cast<std::size_t>(decoder_.output_width) *
                static_cast<std::size_t>(decoder_.output_components));
    JSAMPROW row = row_.data();
    while (decoder_.output_scanline < decoder_.output_height) jpeg_read_scanlines(&decoder_, &row, 1);
  }

  static JPEGReader& self(j_common_ptr decoder) { return *static_cast<JPEGReader*>(decoder->client_data); }

  [[noreturn]] static void leave(j_common_ptr decoder) { std::longjmp(self(decoder).errorReturn_, 1); }

  /// The library only warns of an image that ends too early, and fills it up with grey.
  static void noteWarning(j_common_ptr decoder, int level) {
    const int code = decoder->err->msg_code;
    if (level < 0 && (code == JWRN_JPEG_EOF || code == JWRN_HIT_MARKER)) leave(decoder);
  }

  /// Each scan of a progressive image goes over all of it, and a scan of a few bytes is enough to ask for
  /// that.
  static void limitWork(j_common_ptr decoder) {
    constexpr int maximumScans = 100;
    if (self(decoder).decoder_.input_scan_number > maximumScans) leave(decoder);
    if (!self(decoder).budget_.hasTime()) leave(decoder);
  }

  const ImageCheckBudget& budget_;
  jpeg_decompress_struct decoder_ = {};
  jpeg_error_mgr errors_ = {};
  jpeg_progress_mgr progress_ = {};
  std::jmp_buf errorReturn_ = {};
  std::vector<JSAMPLE> row_;
};

}  // namespace

bool isWholeJPEG(std::string_view bytes, ImageCheckBudget& budget) {
  return JPEGReader(budget).decode(bytes);
}

}  // namespace lumora
