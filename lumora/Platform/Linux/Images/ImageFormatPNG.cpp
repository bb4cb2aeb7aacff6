// Whether bytes are one whole PNG: its chunks are fed to the library by pieces, those that hold no pixels
// left out, and its rows counted. The time that this takes is ImageCheckBudget's to limit.
#include <png.h>

#include <algorithm>
#include <csetjmp>

#include "lumora/Platform/Linux/Images/ImageFormats.h"

namespace lumora {
namespace {

/// Owns everything that a jump out of the library would leave behind.
class PNGReader {
 public:
  PNGReader(std::string_view bytes, ImageCheckBudget& budget) : rest_(bytes), budget_(budget) {
    png_ = png_create_read_struct(PNG_LIBPNG_VER_STRING, nullptr, leave, ignoreWarning);
    if (png_ != nullptr) info_ = png_create_info_struct(png_);
  }
  ~PNGReader() { png_destroy_read_struct(&png_, &info_, nullptr); }
  PNGReader(const PNGReader&) = delete;
  PNGReader& operator=(const PNGReader&) = delete;

  bool decode() {
    constexpr std::size_t signatureSize = 8;
    if (info_ == nullptr || rest_.size() < signatureSize) return false;
    // Nothing with a destructor may live in this frame: the library's errors jump back to here.
    if (setjmp(png_jmpbuf(png_)) != 0) return false;
    png_set_progressive_read_fn(png_, this, begin, countRow, end);
    feed(signatureSize);
    while (!hasEnded_) {
      if (const std::size_t size = chunkSize(); isAncillary()) {
        rest_.remove_prefix(size);
      } else {
        feed(size);
      }
    }
    // The end may come too early: the library does not mind missing rows.
    return rowsLeft_ == 0;
  }

 private:
  static constexpr std::size_t chunkHeaderSize = 8;

  /// The size of the next chunk, with its header and its checksum.
  std::size_t chunkSize() {
    constexpr std::size_t checksumSize = 4;
    if (rest_.size() < chunkHeaderSize + checksumSize) png_error(png_, "The image is cut off.");
    const std::size_t length = png_get_uint_32(reinterpret_cast<png_const_bytep>(rest_.data()));
    if (length > rest_.size() - chunkHeaderSize - checksumSize) png_error(png_, "The image is cut off.");
    return chunkHeaderSize + length + checksumSize;
  }

  /// Texts, colour profiles and the like are of no use here, and inflate to a thousand times their size.
  bool isAncillary() const { return (rest_[4] & 0x20) != 0; }

  /// By pieces: what a few bytes of compressed data inflate to comes before the next look at the time.
  void feed(std::size_t size) {
    constexpr std::size_t pieceSize = 1024;
    while (size > 0) {
      if (!budget_.hasTimeAfter(std::min(size, pieceSize))) png_error(png_, "The image takes too long.");
      // The library takes the bytes as its own to change, and does not change them.
      auto* const piece = reinterpret_cast<png_bytep>(const_cast<char*>(rest_.data()));
      const std::size_t length = std::min(size, pieceSize);
      png_process_data(png_, info_, piece, length);
      rest_.remove_prefix(length);
      size -= length;
    }
  }

  static PNGReader& self(png_structp png) { return *static_cast<PNGReader*>(png_get_progressive_ptr(png)); }

  static void begin(png_structp png, png_infop info) {
    const png_uint_32 width = png_get_image_width(png, info);
    const png_uint_32 height = png_get_image_height(png, info);
    if (!isAcceptableImageSize(width, height)) png_error(png, "The image is too large.");
    self(png).rowsLeft_ = height;
    if (png_get_interlace_type(png, info) != PNG_INTERLACE_NONE)
      self(png).rowsLeft_ = rowsOfPasses(width, height);
    png_start_read_image(png);
  }

  static std::uint64_t rowsOfPasses(png_uint_32 width, png_uint_32 height) {
    std::uint64_t rows = 0;
    for (int pass = 0; pass < PNG_INTERLACE_ADAM7_PASSES; ++pass) {
      if (PNG_PASS_COLS(width, pass) > 0) rows += PNG_PASS_ROWS(height, pass);
    }
    return rows;
  }

  /// Read in this way, the library only warns of rows that it could not make out.
  static void countRow(png_structp png, png_bytep, png_uint_32, int) { --self(png).rowsLeft_; }

  static void end(png_structp png, png_infop) { self(png).hasEnded_ = true; }

  [[noreturn]] static void leave(png_structp png, png_const_charp) { png_longjmp(png, 1); }
  static void ignoreWarning(png_structp, png_const_charp) {}

  std::string_view rest_;
  ImageCheckBudget& budget_;
  png_structp png_ = nullptr;
  png_infop info_ = nullptr;
  std::uint64_t rowsLeft_ = 0;
  bool hasEnded_ = false;
};

}  // namespace

bool isWholePNG(std::string_view bytes, ImageCheckBudget& budget) {
  return PNGReader(bytes, budget).decode();
}

}  // namespace lumora
