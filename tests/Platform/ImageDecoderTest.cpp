#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "lumora/Platform/Linux/Base64.h"
#include "lumora/Platform/Linux/LinuxImageDecoder.h"

namespace lumora::testing {
namespace {

using namespace std::string_literals;

std::string decoded(std::string_view base64) {
  const auto bytes = base64Decoded(base64).value();
  return {bytes.begin(), bytes.end()};
}

// Gray pictures of 5 by 7 pixels; the animated image's canvas is of 10 by 10.
// clang-format off
const std::string kPNG = decoded("iVBORw0KGgoAAAANSUhEUgAAAAUAAAAHAQAAAADo3LpDAAAAC0lEQVQIHWNgQAYAAA4AAV50Q30AAAAASUVORK5CYII=");
const std::string kInterlacedPNG = decoded("iVBORw0KGgoAAAANSUhEUgAAAAUAAAAHAQAAAAGf24rVAAAAC0lEQVQIHWNgwA0AABwAAaMHLlIAAAAASUVORK5CYII=");
const std::string kJPEG = decoded(
    "/9j/2wBDAAgGBgcGBQgHBwcJCQgKDBQNDAsLDBkSEw8UHRofHh0aHBwgJC4nICIsIxwcKDcpLDAxNDQ0Hyc5PTgyPC4zNDL/wAALCAAH"
    "AAUBAREA/8QAFAABAAAAAAAAAAAAAAAAAAAAAP/EABQQAQAAAAAAAAAAAAAAAAAAAAD/2gAIAQEAAD8AP//Z");
const std::string kProgressiveJPEG = decoded(
    "/9j/2wBDAAgGBgcGBQgHBwcJCQgKDBQNDAsLDBkSEw8UHRofHh0aHBwgJC4nICIsIxwcKDcpLDAxNDQ0Hyc5PTgyPC4zNDL/wgALCAAH"
    "AAUBAREA/8QAFAABAAAAAAAAAAAAAAAAAAAAAP/aAAgBAQAAAAF//8QAFBABAAAAAAAAAAAAAAAAAAAAAP/aAAgBAQABBQJ//8QAFBAB"
    "AAAAAAAAAAAAAAAAAAAAAP/aAAgBAQAGPwJ//8QAFBABAAAAAAAAAAAAAAAAAAAAAP/aAAgBAQABPyF//9oACAEBAAAAEH//xAAUEAEA"
    "AAAAAAAAAAAAAAAAAAAA/9oACAEBAAE/EH//2Q==");
const std::string kGIF = decoded("R0lGODlhBQAHAIAAAAAAAAAAACH5BAAKAP8ALAAAAAAFAAcAAAIIRAx4mrfeECsAOw==");
const std::string kAnimatedGIF = decoded(
    "R0lGODlhBQAHAIAAAAAAAAAAACH5BAAKAP8ALAAAAAAFAAcAAAIIRAx4mrfeECsAIfkEAAoA/wAsAQACAAQABQAAAgVEjKeZBQAh+QQA"
    "CgD/ACwEAAYAAQABAAACAkQBADs=");
const std::string kLosslessWebP = decoded("UklGRh4AAABXRUJQVlA4TBEAAAAvBIABEAdQrWpVq1qBiOh/AAA=");
const std::string kAnimatedWebP = decoded(
    "UklGRuoAAABXRUJQVlA4WAoAAAACAAAACQAACQAAQU5JTQYAAAAAAAAAAABBTk1GQgAAAAIAAAAAAAQAAAYAAGQAAABBTFBICgAAAAEH"
    "UK2ICERE/wNWUDggGAAAADABAJ0BKgUABwACwEwlpAADcAD+64QAAEFOTUYqAAAAAgAAAAAABAAABgAAZAAAAFZQOEwRAAAALwSAARAH"
    "UK1qVatagYjofwAAQU5NRkIAAAACAAAAAAAEAAAGAABkAAAAQUxQSAoAAAABB1CtiAhERP8DVlA4IBgAAAAwAQCdASoFAAcAAsBMJaQA"
    "A3AA/uuEAAA=");
// clang-format on

std::string patched(std::string image, std::size_t at, std::string_view bytes) {
  return image.replace(at, bytes.size(), bytes);
}

/// The canvas, its width and height as the format writes them; the frames stay as small as they are.
const auto gifOf = [](std::string_view size) { return patched(kGIF, 6, size); };
const auto webPOf = [](std::string_view size) { return patched(kAnimatedWebP, 24, size); };

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
  LinuxImageDecoder decoder;
  for (const std::string& bytes : {kPNG, kInterlacedPNG, kJPEG, kProgressiveJPEG, jpegWithScans(20), kGIF,
                                   kAnimatedGIF, kLosslessWebP, kAnimatedWebP}) {
    EXPECT_TRUE(decoder.isImage(bytes)) << base64Encoded(bytes);
    EXPECT_TRUE(decoder.isImage(bytes + "what follows does not matter")) << base64Encoded(bytes);
    for (std::size_t length = 0; length < bytes.size(); ++length) {
      // In a buffer of its own, so that the address sanitizer sees a read behind the end.
      const std::vector<char> part(bytes.data(), bytes.data() + length);
      EXPECT_FALSE(decoder.isImage({part.data(), part.size()})) << length << " of " << base64Encoded(bytes);
    }
  }
}

TEST(ImageDecoderTest, RefusesWhatIsNoImage) {
  // clang-format off
  const std::pair<const char*, std::string> cases[] = {
      {"html", "<!DOCTYPE html><html><body>Not found</body></html>"}, {"zeros", std::string(1000, '\0')},
      {"sound", "RIFF\x12\0\0\0WAVEdata\6\0\0\000123456"s}, {"two png signatures", kPNG.substr(0, 8) + kPNG},
      {"wrong png pixels", patched(kPNG, kPNG.find("IDAT") + 6, "x")}, {"endless jpeg scans", jpegWithScans(200)},
      {"gif without a frame", kGIF.substr(0, 19) + ";"}, {"gif frame right of the canvas", gifOf("\4\0\7\0"s)},
      {"gif frame below the canvas", gifOf("\5\0\6\0"s)}, {"webp frame right of the canvas", webPOf("\7")},
      {"webp without a frame", patched(kAnimatedWebP.substr(0, 44), 4, "\x24")}};
  // clang-format on
  LinuxImageDecoder decoder;
  for (const auto& [name, bytes] : cases) EXPECT_FALSE(decoder.isImage(bytes)) << name;
}

TEST(ImageDecoderTest, RefusesMoreThan64Megapixels) {
  LinuxImageDecoder decoder;
  for (const std::string& bytes :
       {jpegOf("\x1F\x40\x1F\x40", 1'000'000), gifOf("\x40\x1F\x40\x1F"), webPOf("\x3F\x1F\0\x3F\x1F\0"s)}) {
    EXPECT_TRUE(decoder.isImage(bytes)) << base64Encoded(bytes);
  }
  for (const std::string& bytes :
       {jpegOf("\x1F\x40\x1F\x41", 1'001'000), gifOf("\x41\x1F\x40\x1F"), webPOf("\x40\x1F\0\x3F\x1F\0"s),
        gifOf("\xFF\xFF\xFF\xFF"), webPOf("\xFE\xFF\0\xFE\xFF\0"s)}) {
    EXPECT_FALSE(decoder.isImage(bytes)) << base64Encoded(bytes);
  }
}

}  // namespace
}  // namespace lumora::testing
