#include <png.h>

#include <algorithm>
#include <csetjmp>
#include <cstring>
#include <vector>

#include "lumora/Platform/Linux/ImageFormats.h"

namespace lumora {
namespace {

/// Owns everything that a jump out of the library would leave behind.
class PNGReader {
 public:
  explicit PNGReader(std::string_view bytes) : rest_(bytes) {
    png_ = png_create_read_struct(PNG_LIBPNG_VER_STRING, nullptr, leave, ignoreWarning);
    if (png_ != nullptr) info_ = png_create_info_struct(png_);
  }
  ~PNGReader() { png_destroy_read_struct(&png_, &info_, nullptr); }
  PNGReader(const PNGReader&) = delete;
  PNGReader& operator=(const PNGReader&) = delete;

  bool decode() {
    if (info_ == nullptr) return false;
    // Nothing with a destructor may live in this frame: the library's errors jump back to here.
    if (setjmp(png_jmpbuf(png_)) != 0) return false;
    png_set_read_fn(png_, this, read);
    png_read_info(png_, info_);
    if (!isAcceptableImageSize(png_get_image_width(png_, info_), png_get_image_height(png_, info_)))
      return false;
    readRows();
    png_read_end(png_, nullptr);
    return true;
  }

 private:
  void readRows() {
    // An interlaced image comes in several passes; its rows may overwrite one another, since none is shown.
    const int passes = png_set_interlace_handling(png_);
    png_read_update_info(png_, info_);
    row_.resize(png_get_rowbytes(png_, info_));
    const png_uint_32 height = png_get_image_height(png_, info_);
    for (int pass = 0; pass < passes; ++pass) {
      for (png_uint_32 y = 0; y < height; ++y) png_read_row(png_, row_.data(), nullptr);
    }
  }

  [[noreturn]] static void leave(png_structp png, png_const_charp) { png_longjmp(png, 1); }
  static void ignoreWarning(png_structp, png_const_charp) {}

  static void read(png_structp png, png_bytep target, png_size_t length) {
    auto& rest = static_cast<PNGReader*>(png_get_io_ptr(png))->rest_;
    if (length > rest.size()) png_error(png, "The image is cut off.");
    std::memcpy(target, rest.data(), length);
    rest.remove_prefix(length);
  }

  std::string_view rest_;
  std::vector<png_byte> row_;
  png_structp png_ = nullptr;
  png_infop info_ = nullptr;
};

}  // namespace

bool isWholePNG(std::string_view bytes) {
  return PNGReader(bytes).decode();
}

}  // namespace lumora
