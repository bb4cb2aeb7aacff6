#include <gtest/gtest.h>
#include <sys/resource.h>
#include <webp/decode.h>
#include <webp/encode.h>
#include <zlib.h>

#include <ctime>
#include <string>
#include <tuple>
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

std::string repeated(const std::string& part, std::size_t times) {
  std::string text;
  for (std::size_t i = 0; i < times; ++i) text += part;
  return text;
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
std::string jpegWithScans(std::size_t repetitions) {
  const std::string image = kProgressiveJPEG.substr(0, kProgressiveJPEG.size() - 2);
  return image + repeated(image.substr(image.rfind("\xFF\xDA")), repetitions) + "\xFF\xD9";
}

std::string littleEndian(std::size_t number) {
  std::string text;
  for (int i = 0; i < 4; ++i) text += static_cast<char>(number >> 8 * i);
  return text;
}

std::string bigEndian(std::size_t number) {
  const std::string text = littleEndian(number);
  return {text.rbegin(), text.rend()};
}

Bytef* bytesOf(const std::string& text) {
  return reinterpret_cast<Bytef*>(const_cast<char*>(text.data()));
}

/// What inflates to so many megabytes; the sum at the end is that of seven.
std::string deflated(std::size_t megabytes) {
  const std::string plain(1 << 20, '\1');
  std::string block(plain.size(), '\0');
  z_stream stream{};
  deflateInit(&stream, 9);
  stream.next_in = bytesOf(plain);
  stream.next_out = bytesOf(block);
  stream.avail_in = stream.avail_out = 1 << 20;
  deflate(&stream, Z_FULL_FLUSH);
  block.resize(stream.total_out);
  deflateEnd(&stream);
  return block.substr(0, 2) + repeated(block.substr(2), megabytes) + "\1\0\0\xFF\xFF\x93\x93\x06\x91"s;
}

std::string pngChunk(const std::string& content) {
  return bigEndian(content.size() - 4) + content +
         bigEndian(crc32(0, bytesOf(content), static_cast<uInt>(content.size())));
}

std::string webPChunk(const std::string& name, const std::string& content) {
  return name + littleEndian(content.size()) + content;
}

/// An animation, each of whose frames is one colour of 8,000 by 8,000 pixels, or of one.
std::string webPOfFrames(std::size_t count, bool areLarge) {
  const std::string size = areLarge ? "\x3F\x1F\0\x3F\x1F\0"s : std::string(6, '\0');
  const std::string picture =
      webPChunk("VP8L", (areLarge ? "/\x3F\xDF\xCF\7"s : "/\0\0\0\0"s) + "\x88\x88\x08");
  const std::string frame = webPChunk("ANMF", std::string(6, '\0') + size + std::string(4, '\0') + picture);
  return webPChunk("RIFF", "WEBP" + webPChunk("VP8X", "\2\0\0\0"s + size) +
                               webPChunk("ANIM", std::string(6, '\0')) + repeated(frame, count));
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

/// The most that this process has ever taken, in MiB.
long peakMemory() {
  rusage usage{};
  ::getrusage(RUSAGE_SELF, &usage);
  return usage.ru_maxrss / 1024;
}

TEST(ImageDecoderTest, SpendsASecondAnd64MiBOnWhateverItIsGiven) {
  const std::size_t data = kPNG.find("IDAT") - 4;
  const std::string texts = repeated(pngChunk("zTXtk\0\0"s + deflated(7)), 60);
  const std::string clearCodes = repeated("\xFF" + repeated("\x24\x49\x92", 85), 24'000);
  // clang-format off
  const std::tuple<const char*, bool, std::string> cases[] = {
      {"jpeg coefficients", false, patched(kProgressiveJPEG, kProgressiveJPEG.find("\xFF\xC2") + 5, "\x1F\x40\x1F\x40")},
      {"webp of large frames", false, webPOfFrames(20, true)}, {"webp of small frames", false, webPOfFrames(40'000, false)},
      {"png texts", true, kPNG.substr(0, data) + texts + kPNG.substr(data)},
      {"png behind its last row", true, kPNG.substr(0, data) + pngChunk("IDAT" + deflated(3000)) + kPNG.substr(kPNG.size() - 12)},
      {"gif clear codes", false, kGIF.substr(0, kGIF.rfind(',') + 11) + clearCodes + "\0;"s}};
  // clang-format on
  for (const auto& [name, isImage, bytes] : cases) {
    const long memory = peakMemory();
    const std::clock_t start = std::clock();
    EXPECT_EQ(LinuxImageDecoder().isImage(bytes), isImage) << name;
    EXPECT_LT((std::clock() - start) / CLOCKS_PER_SEC, 2) << name;
    EXPECT_LE(peakMemory() - memory, 64) << name;
  }
}

TEST(ImageDecoderTest, JudgesLosslessStreamsAsTheirLibraryDoes) {
  constexpr int side = 64;
  std::string pixels;
  for (unsigned i = 0; i < side * side; ++i)
    pixels += littleEndian(i % side < side / 2 ? i * 0x010305U : i * i * 2654435761U);
  const auto check = [](std::uint8_t* encoded, std::size_t size, std::size_t start) {
    std::string image(reinterpret_cast<const char*>(encoded), size);
    WebPFree(encoded);
    for (std::size_t bit = start * 8; bit < size * 8; bit += bit < 2000 ? 1 : 31) {
      const auto flip = static_cast<char>(1 << bit % 8);
      image[bit / 8] ^= flip;
      std::uint8_t* const decodedPixels = WebPDecodeRGBA(bytesOf(image), size, nullptr, nullptr);
      EXPECT_EQ(LinuxImageDecoder().isImage(image), decodedPixels != nullptr) << bit;
      WebPFree(decodedPixels);
      image[bit / 8] ^= flip;
    }
  };
  std::uint8_t* encoded = nullptr;
  std::size_t size = WebPEncodeLosslessRGBA(bytesOf(pixels), side, side, side * 4, &encoded);
  check(encoded, size, 20);
  size = WebPEncodeRGBA(bytesOf(pixels), side, side, side * 4, 1, &encoded);
  check(encoded, size, 38);  // A lossy picture, with its transparency before it.
}

}  // namespace
}  // namespace lumora::testing
