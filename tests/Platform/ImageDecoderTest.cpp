#include <gif_lib.h>
#include <gtest/gtest.h>

// The JPEG library's header needs FILE declared before it.
#include <cstdio>

#include <jpeglib.h>
#include <png.h>
#include <webp/encode.h>

#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

#include "lumora/Platform/Linux/LinuxImageDecoder.h"

namespace lumora {
namespace {

struct Size {
  int width;
  int height;
};

// 64 megapixels to the pixel, and a little more.
constexpr Size kLargest{8000, 8000};
constexpr Size kTooLarge{8001, 8000};
constexpr Size kTiny{5, 7};

/// A row of the test picture in one byte per pixel.
std::vector<std::uint8_t> grayRow(int width) {
  std::vector<std::uint8_t> row(static_cast<std::size_t>(width));
  for (std::size_t x = 0; x < row.size(); ++x) row[x] = static_cast<std::uint8_t>(x * 50);
  return row;
}

std::string png(Size size, int interlace = PNG_INTERLACE_NONE) {
  std::string result;
  png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
  png_infop info = png_create_info_struct(png);
  const auto write = [](png_structp writer, png_bytep data, png_size_t length) {
    static_cast<std::string*>(png_get_io_ptr(writer))->append(reinterpret_cast<char*>(data), length);
  };
  png_set_write_fn(png, &result, write, nullptr);
  png_set_compression_level(png, 1);
  png_set_IHDR(png, info, static_cast<png_uint_32>(size.width), static_cast<png_uint_32>(size.height), 1,
               PNG_COLOR_TYPE_GRAY, interlace, PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
  png_write_info(png, info);
  std::vector<std::uint8_t> row = grayRow((size.width + 7) / 8);
  const int passes = png_set_interlace_handling(png);
  for (int pass = 0; pass < passes; ++pass) {
    for (int y = 0; y < size.height; ++y) png_write_row(png, row.data());
  }
  png_write_end(png, info);
  png_destroy_write_struct(&png, &info);
  return result;
}

std::string jpeg(Size size, bool isProgressive = false) {
  jpeg_compress_struct encoder = {};
  jpeg_error_mgr errors = {};
  encoder.err = jpeg_std_error(&errors);
  jpeg_create_compress(&encoder);
  unsigned char* data = nullptr;
  unsigned long length = 0;
  jpeg_mem_dest(&encoder, &data, &length);
  encoder.image_width = static_cast<JDIMENSION>(size.width);
  encoder.image_height = static_cast<JDIMENSION>(size.height);
  encoder.input_components = 1;
  encoder.in_color_space = JCS_GRAYSCALE;
  jpeg_set_defaults(&encoder);
  if (isProgressive) jpeg_simple_progression(&encoder);
  jpeg_start_compress(&encoder, TRUE);
  std::vector<std::uint8_t> row(static_cast<std::size_t>(size.width), 100);
  JSAMPROW rows = row.data();
  while (encoder.next_scanline < encoder.image_height) jpeg_write_scanlines(&encoder, &rows, 1);
  jpeg_finish_compress(&encoder);
  std::string result(reinterpret_cast<char*>(data), length);
  jpeg_destroy_compress(&encoder);
  std::free(data);
  return result;
}

/// A progressive image whose last scan comes again and again.
std::string jpegWithScans(int repetitions) {
  const std::string image = jpeg(kTiny, true);
  const std::string start = image.substr(0, image.size() - 2);
  const std::string scan = start.substr(start.rfind("\xFF\xDA"));
  std::string result = start;
  for (int i = 0; i < repetitions; ++i) result += scan;
  return result + "\xFF\xD9";
}

struct GIFFrame {
  int left;
  int top;
  Size size;
};

std::string gif(Size canvas, const std::vector<GIFFrame>& frames) {
  std::string result;
  const auto write = [](GifFileType* file, const GifByteType* data, int length) {
    static_cast<std::string*>(file->UserData)
        ->append(reinterpret_cast<const char*>(data), static_cast<std::size_t>(length));
    return length;
  };
  int error = 0;
  GifFileType* file = EGifOpen(&result, write, &error);
  EGifSetGifVersion(file, true);
  ColorMapObject* colors = GifMakeMapObject(256, nullptr);
  EGifPutScreenDesc(file, canvas.width, canvas.height, 8, 0, colors);
  for (const GIFFrame& frame : frames) {
    const GraphicsControlBlock control{DISPOSAL_UNSPECIFIED, false, 10, NO_TRANSPARENT_COLOR};
    GifByteType extension[4];
    EGifPutExtension(file, GRAPHICS_EXT_FUNC_CODE, static_cast<int>(EGifGCBToExtension(&control, extension)),
                     extension);
    EGifPutImageDesc(file, frame.left, frame.top, frame.size.width, frame.size.height, false, nullptr);
    std::vector<std::uint8_t> row = grayRow(frame.size.width);
    for (int y = 0; y < frame.size.height; ++y) EGifPutLine(file, row.data(), frame.size.width);
  }
  GifFreeMapObject(colors);
  EGifCloseFile(file, &error);
  return result;
}

std::string webp(Size size, bool isLossless) {
  const std::vector<std::uint8_t> pixels(static_cast<std::size_t>(size.width * size.height * 4), 90);
  std::uint8_t* data = nullptr;
  const std::size_t length =
      isLossless ? WebPEncodeLosslessRGBA(pixels.data(), size.width, size.height, size.width * 4, &data)
                 : WebPEncodeRGBA(pixels.data(), size.width, size.height, size.width * 4, 50, &data);
  std::string result(reinterpret_cast<char*>(data), length);
  WebPFree(data);
  return result;
}

std::string littleEndian(std::size_t value, int bytes) {
  std::string result;
  for (int i = 0; i < bytes; ++i) result += static_cast<char>(value >> (8 * i) & 0xFF);
  return result;
}

std::string chunk(const std::string& name, const std::string& content) {
  return name + littleEndian(content.size(), 4) + content +
         (content.size() % 2 == 1 ? std::string(1, '\0') : "");
}

/// Frames that are whole images of kTiny, one after the other.
std::string animatedWebP(Size canvas, const std::vector<std::string>& frames, int left = 0) {
  const auto size = [](int value, int bytes) { return littleEndian(static_cast<std::size_t>(value), bytes); };
  const char animated = 2;
  std::string content = "WEBP" + chunk("VP8X", std::string{animated, 0, 0, 0} + size(canvas.width - 1, 3) +
                                                   size(canvas.height - 1, 3));
  content += chunk("ANIM", std::string(6, '\0'));
  for (const std::string& frame : frames) {
    // The frame's own chunks begin after the file header of twelve bytes and, with transparency, one of
    // eighteen.
    const std::string chunks = frame.substr(frame.find("VP8X") == 12 ? 30 : 12);
    content += chunk("ANMF", size(left / 2, 3) + size(0, 3) + size(kTiny.width - 1, 3) +
                                 size(kTiny.height - 1, 3) + size(100, 3) + std::string(1, '\0') + chunks);
  }
  return chunk("RIFF", content);
}

struct NamedImage {
  std::string name;
  std::string bytes;
};

void PrintTo(const NamedImage& image, std::ostream* stream) {
  *stream << image.name;
}

std::vector<NamedImage> images() {
  const std::string lossy = webp(kTiny, false);
  const std::string lossless = webp(kTiny, true);
  return {
      {"png", png(kTiny)},
      {"interlaced png", png(kTiny, PNG_INTERLACE_ADAM7)},
      {"jpeg", jpeg(kTiny)},
      {"progressive jpeg", jpeg(kTiny, true)},
      {"jpeg with some scans", jpegWithScans(20)},
      {"gif", gif(kTiny, {{0, 0, kTiny}})},
      {"animated gif", gif(kTiny, {{0, 0, kTiny}, {1, 2, {4, 5}}, {4, 6, {1, 1}}})},
      {"webp", lossy},
      {"lossless webp", lossless},
      {"animated webp", animatedWebP({10, 10}, {lossy, lossless, lossy}, 4)},
  };
}

class WholeImage : public testing::TestWithParam<NamedImage> {
 protected:
  LinuxImageDecoder decoder_;
};

TEST_P(WholeImage, IsAnImage) {
  EXPECT_TRUE(decoder_.isImage(GetParam().bytes));
  EXPECT_TRUE(decoder_.isImage(GetParam().bytes + "what follows does not matter"));
}

TEST_P(WholeImage, IsNoImageWhenCutOffAnywhere) {
  // Copied into a buffer of its own, so that the address sanitizer sees a read behind the end.
  for (std::size_t length = 0; length < GetParam().bytes.size(); ++length) {
    const std::vector<char> part(GetParam().bytes.begin(),
                                 GetParam().bytes.begin() + static_cast<std::ptrdiff_t>(length));
    EXPECT_FALSE(decoder_.isImage({part.data(), part.size()})) << "cut to " << length << " bytes";
  }
}

INSTANTIATE_TEST_SUITE_P(ImageDecoder, WholeImage, testing::ValuesIn(images()), [](const auto& parameter) {
  std::string name = parameter.param.name;
  for (char& c : name) c = c == ' ' ? '_' : c;
  return name;
});

TEST(ImageDecoder, RefusesWhatIsNoImage) {
  const std::string frame = webp(kTiny, false);
  const NamedImage cases[] = {
      {"nothing", ""},
      {"html", "<!DOCTYPE html><html><body>Not found</body></html>"},
      {"zeros", std::string(1000, '\0')},
      {"a sound in a RIFF file", chunk("RIFF", "WAVE" + chunk("data", "123456"))},
      {"a bitmap", "BM" + std::string(100, '\1')},
      {"jpeg with endless scans", jpegWithScans(200)},
      {"gif without a frame", gif(kTiny, {})},
      {"gif frame to the right of the canvas", gif(kTiny, {{1, 0, kTiny}})},
      {"gif frame below the canvas", gif(kTiny, {{0, 0, kTiny}, {0, 1, kTiny}})},
      {"animated webp without a frame", animatedWebP({10, 10}, {})},
      {"webp frame to the right of the canvas", animatedWebP({10, 10}, {frame, frame}, 6)},
      {"two png signatures", png(kTiny).substr(0, 8) + png(kTiny)},
  };
  LinuxImageDecoder decoder;
  for (const NamedImage& image : cases) EXPECT_FALSE(decoder.isImage(image.bytes)) << image.name;
}

TEST(ImageDecoder, RefusesWrongBytesInThePixels) {
  std::string image = png(kTiny);
  image[image.find("IDAT") + 6] = static_cast<char>(image[image.find("IDAT") + 6] ^ 1);
  EXPECT_FALSE(LinuxImageDecoder().isImage(image));
}

TEST(ImageDecoder, RefusesMoreThan64Megapixels) {
  const std::string frame = webp(kTiny, false);
  const struct {
    std::string name;
    std::string largest;
    std::string tooLarge;
  } cases[] = {
      {"png", png(kLargest), png(kTooLarge)},
      {"jpeg", jpeg(kLargest), jpeg(kTooLarge)},
      {"gif", gif(kLargest, {{0, 0, kTiny}}), gif(kTooLarge, {{0, 0, kTiny}})},
      {"gif of the most that its header can say", gif(kLargest, {{0, 0, kTiny}}),
       gif({65535, 65535}, {{0, 0, kTiny}})},
      {"webp", animatedWebP(kLargest, {frame}), animatedWebP(kTooLarge, {frame})},
      {"webp of 65535 pixels square", animatedWebP(kLargest, {frame}), animatedWebP({65535, 65535}, {frame})},
  };
  LinuxImageDecoder decoder;
  for (const auto& image : cases) {
    EXPECT_TRUE(decoder.isImage(image.largest)) << image.name;
    EXPECT_FALSE(decoder.isImage(image.tooLarge)) << image.name;
  }
}

}  // namespace
}  // namespace lumora
