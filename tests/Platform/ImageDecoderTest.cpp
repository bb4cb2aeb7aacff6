#include <gtest/gtest.h>
#include <png.h>

#include <string>
#include <vector>

#include "lumora/Platform/Linux/Base64.h"
#include "lumora/Platform/Linux/LinuxImageDecoder.h"

namespace lumora::testing {
namespace {

using NamedImage = std::pair<std::string, std::string>;

std::string decoded(std::string_view base64) {
  const auto bytes = base64Decoded(base64).value();
  return {bytes.begin(), bytes.end()};
}

// Gray pictures of 5 by 7 pixels; the animated image's canvas is of 10 by 10.
const std::string kPNG =
    decoded("iVBORw0KGgoAAAANSUhEUgAAAAUAAAAHAQAAAADo3LpDAAAAC0lEQVQIHWNgQAYAAA4AAV50Q30AAAAASUVORK5CYII=");
const std::string kInterlacedPNG =
    decoded("iVBORw0KGgoAAAANSUhEUgAAAAUAAAAHAQAAAAGf24rVAAAAC0lEQVQIHWNgwA0AABwAAaMHLlIAAAAASUVORK5CYII=");
const std::string kJPEG = decoded(
    "/9j/2wBDAAgGBgcGBQgHBwcJCQgKDBQNDAsLDBkSEw8UHRofHh0aHBwgJC4nICIsIxwcKDcpLDAxNDQ0Hyc5PTgyPC4zNDL/"
    "wAALCAAHAAUBAREA/8QAFAABAAAAAAAAAAAAAAAAAAAAAP/EABQQAQAAAAAAAAAAAAAAAAAAAAD/2gAIAQEAAD8AP//Z");
const std::string kProgressiveJPEG = decoded(
    "/9j/2wBDAAgGBgcGBQgHBwcJCQgKDBQNDAsLDBkSEw8UHRofHh0aHBwgJC4nICIsIxwcKDcpLDAxNDQ0Hyc5PTgyPC4zNDL/"
    "wgALCAAHAAUBAREA/8QAFAABAAAAAAAAAAAAAAAAAAAAAP/aAAgBAQAAAAF//8QAFBABAAAAAAAAAAAAAAAAAAAAAP/aAAgBAQABBQJ/"
    "/8QAFBABAAAAAAAAAAAAAAAAAAAAAP/aAAgBAQAGPwJ//8QAFBABAAAAAAAAAAAAAAAAAAAAAP/aAAgBAQABPyF//9oACAEBAAAAEH//"
    "xAAUEAEAAAAAAAAAAAAAAAAAAAAA/9oACAEBAAE/EH//2Q==");
const std::string kGIF = decoded("R0lGODlhBQAHAIAAAAAAAAAAACH5BAAKAP8ALAAAAAAFAAcAAAIIRAx4mrfeECsAOw==");
const std::string kAnimatedGIF = decoded(
    "R0lGODlhBQAHAIAAAAAAAAAAACH5BAAKAP8ALAAAAAAFAAcAAAIIRAx4mrfeECsAIfkEAAoA/"
    "wAsAQACAAQABQAAAgVEjKeZBQAh+QQACgD/ACwEAAYAAQABAAACAkQBADs=");
const std::string kWebP = decoded(
    "UklGRkgAAABXRUJQVlA4WAoAAAAQAAAABAAABgAAQUxQSAoAAAABB1CtiAhERP8DVlA4IBgAAAAwAQCdASoFAAcAAsBMJaQAA3AA/"
    "uuEAAA=");
const std::string kLosslessWebP = decoded("UklGRh4AAABXRUJQVlA4TBEAAAAvBIABEAdQrWpVq1qBiOh/AAA=");
const std::string kAnimatedWebP = decoded(
    "UklGRuoAAABXRUJQVlA4WAoAAAACAAAACQAACQAAQU5JTQYAAAAAAAAAAABBTk1GQgAAAAIAAAAAAAQAAAYAAGQAAABBTFBICgAAAAEH"
    "UK2ICERE/"
    "wNWUDggGAAAADABAJ0BKgUABwACwEwlpAADcAD+"
    "64QAAEFOTUYqAAAAAgAAAAAABAAABgAAZAAAAFZQOEwRAAAALwSAARAHUK1qVatagYjofwAAQU5NRkIAAAACAAAAAAAEAAAGAABkAAAA"
    "QUxQSAoAAAABB1CtiAhERP8DVlA4IBgAAAAwAQCdASoFAAcAAsBMJaQAA3AA/uuEAAA=");

std::string patched(std::string image, std::size_t at, std::string_view bytes) {
  return image.replace(at, bytes.size(), bytes);
}

/// The canvas, its width and height as the format writes them; the frames stay as small as they are.
std::string gifOf(std::string_view size) {
  return patched(kGIF, 6, size);
}
std::string webPOf(std::string_view size) {
  return patched(kAnimatedWebP, 24, size);
}

std::string pngOf(png_uint_32 width, png_uint_32 height) {
  png_image image{};
  image.version = PNG_IMAGE_VERSION;
  image.width = width;
  image.height = height;
  image.flags = PNG_IMAGE_FLAG_FAST;
  const std::vector<png_byte> pixels(std::size_t{width} * height);
  std::string bytes(10'000'000, '\0');
  png_alloc_size_t size = bytes.size();
  png_image_write_to_memory(&image, bytes.data(), &size, 0, pixels.data(), 0, nullptr);
  return bytes.substr(0, size);
}

/// Height and width in two bytes each. Every block of 8 by 8 pixels takes two zero bits, "no change" and "no
/// detail"; four blocks fill a byte.
std::string jpegOf(std::string_view size, std::size_t blocks) {
  const std::string head = kJPEG.substr(0, kJPEG.size() - 3);
  return patched(head, head.find("\xFF\xC0") + 5, size) + std::string(blocks / 4, '\0') + "\xFF\xD9";
}

/// A progressive image whose last scan comes again and again.
std::string jpegWithScans(int repetitions) {
  std::string image = kProgressiveJPEG.substr(0, kProgressiveJPEG.size() - 2);
  const std::string scan = image.substr(image.rfind("\xFF\xDA"));
  for (int i = 0; i < repetitions; ++i) image += scan;
  return image + "\xFF\xD9";
}

TEST(ImageDecoderTest, TakesWholeImagesAlone) {
  const NamedImage images[] = {{"png", kPNG},
                               {"interlaced png", kInterlacedPNG},
                               {"jpeg", kJPEG},
                               {"progressive jpeg", kProgressiveJPEG},
                               {"jpeg with some scans", jpegWithScans(20)},
                               {"gif", kGIF},
                               {"animated gif", kAnimatedGIF},
                               {"webp", kWebP},
                               {"lossless webp", kLosslessWebP},
                               {"animated webp", kAnimatedWebP}};
  LinuxImageDecoder decoder;
  for (const auto& [name, bytes] : images) {
    EXPECT_TRUE(decoder.isImage(bytes)) << name;
    EXPECT_TRUE(decoder.isImage(bytes + "what follows does not matter")) << name;
    for (std::size_t length = 0; length < bytes.size(); ++length) {
      // In a buffer of its own, so that the address sanitizer sees a read behind the end.
      const std::vector<char> part(bytes.data(), bytes.data() + length);
      EXPECT_FALSE(decoder.isImage({part.data(), part.size()})) << name << " cut to " << length << " bytes";
    }
  }
}

TEST(ImageDecoderTest, RefusesWhatIsNoImage) {
  using namespace std::string_literals;
  const NamedImage cases[] = {
      {"html", "<!DOCTYPE html><html><body>Not found</body></html>"},
      {"zeros", std::string(1000, '\0')},
      {"a sound in a RIFF file", "RIFF\x12\0\0\0WAVEdata\6\0\0\000123456"s},
      {"a bitmap", "BM" + std::string(100, '\1')},
      {"two png signatures", kPNG.substr(0, 8) + kPNG},
      {"wrong bytes in the pixels", patched(kPNG, kPNG.find("IDAT") + 6, "x")},
      {"jpeg with endless scans", jpegWithScans(200)},
      {"gif without a frame", kGIF.substr(0, 19) + ";"},
      {"gif frame to the right of the canvas", gifOf("\4\0\7\0"s)},
      {"gif frame below the canvas", gifOf("\5\0\6\0"s)},
      {"animated webp without a frame", patched(kAnimatedWebP.substr(0, 44), 4, "\x24")},
      {"webp frame to the right of the canvas", webPOf("\7")}};
  LinuxImageDecoder decoder;
  for (const auto& [name, bytes] : cases) EXPECT_FALSE(decoder.isImage(bytes)) << name;
}

TEST(ImageDecoderTest, RefusesMoreThan64Megapixels) {
  using namespace std::string_literals;
  struct Case {
    std::string name;
    std::string bytes;
    bool isImage;
  };
  const Case cases[] = {{"png 8000 x 8000", pngOf(8000, 8000), true},
                        {"png 8001 x 8000", pngOf(8001, 8000), false},
                        {"jpeg 8000 x 8000", jpegOf("\x1F\x40\x1F\x40", 1'000'000), true},
                        {"jpeg 8001 x 8000", jpegOf("\x1F\x40\x1F\x41", 1'001'000), false},
                        {"gif 8000 x 8000", gifOf("\x40\x1F\x40\x1F"), true},
                        {"gif 8001 x 8000", gifOf("\x41\x1F\x40\x1F"), false},
                        {"gif 65535 x 65535", gifOf("\xFF\xFF\xFF\xFF"), false},
                        {"webp 8000 x 8000", webPOf("\x3F\x1F\0\x3F\x1F\0"s), true},
                        {"webp 8001 x 8000", webPOf("\x40\x1F\0\x3F\x1F\0"s), false},
                        {"webp 65535 x 65535", webPOf("\xFE\xFF\0\xFE\xFF\0"s), false}};
  LinuxImageDecoder decoder;
  for (const Case& c : cases) EXPECT_EQ(decoder.isImage(c.bytes), c.isImage) << c.name;
}

}  // namespace
}  // namespace lumora::testing
