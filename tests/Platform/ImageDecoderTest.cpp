#include <gtest/gtest.h>
#include <sys/resource.h>
#include <webp/decode.h>
#include <zlib.h>

#include <ctime>
#include <fstream>
#include <iterator>
#include <tuple>

#include "lumora/Platform/Linux/Files/Base64.h"
#include "lumora/Platform/Linux/Images/LinuxImageDecoder.h"

namespace lumora::testing {
namespace {

using namespace std::string_literals;

/// Gray pictures of 5 by 7 pixels; the animated image's canvas is of 10 by 10.
std::string picture(const char* name) {
  std::ifstream file(LUMORA_SOURCE_FOLDER "/../fuzz/corpus/image/" + std::string(name), std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

const std::string kPNG = picture("still.png");
const std::string kInterlacedPNG = picture("interlaced.png");
const std::string kJPEG = picture("still.jpg");
const std::string kProgressiveJPEG = picture("progressive.jpg");
const std::string kGIF = picture("still.gif");
const std::string kAnimatedGIF = picture("animated.gif");
const std::string kLosslessWebP = picture("lossless.webp");
const std::string kAnimatedWebP = picture("animated.webp");

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
  return {reinterpret_cast<const char*>(&number), 4};
}

std::string bigEndian(std::size_t number) {
  return littleEndian(__builtin_bswap32(static_cast<std::uint32_t>(number)));
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

/// The first frame of the animation, so many times.
std::string webPOfFrames(std::size_t count) {
  constexpr std::size_t start = 44;
  const std::string image = kAnimatedWebP.substr(0, start) + repeated(kAnimatedWebP.substr(start, 74), count);
  return patched(image, 4, littleEndian(image.size() - 8));
}

TEST(ImageDecoderTest, TakesWholeImagesAlone) {
  for (const std::string& bytes : {kPNG, kInterlacedPNG, kJPEG, kProgressiveJPEG, jpegWithScans(20), kGIF,
                                   kAnimatedGIF, kLosslessWebP, kAnimatedWebP}) {
    EXPECT_TRUE(LinuxImageDecoder().isImage(bytes)) << base64Encoded(bytes);
    EXPECT_TRUE(LinuxImageDecoder().isImage(bytes + "what follows does not matter")) << base64Encoded(bytes);
    for (std::size_t length = 0; length < bytes.size(); ++length) {
      // In a buffer of its own, so that the address sanitizer sees a read behind the end.
      const std::vector<char> part(bytes.data(), bytes.data() + length);
      EXPECT_FALSE(LinuxImageDecoder().isImage({part.data(), part.size()}))
          << length << " of " << base64Encoded(bytes);
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
  for (const auto& [name, bytes] : cases) EXPECT_FALSE(LinuxImageDecoder().isImage(bytes)) << name;
}

TEST(ImageDecoderTest, RefusesMoreThan64Megapixels) {
  const std::pair<std::string, bool> cases[] = {{jpegOf("\x1F\x40\x1F\x40", 1'000'000), true},
                                                {jpegOf("\x1F\x40\x1F\x41", 1'001'000), false},
                                                {gifOf("\x40\x1F\x40\x1F"), true},
                                                {gifOf("\x41\x1F\x40\x1F"), false},
                                                {gifOf("\xFF\xFF\xFF\xFF"), false},
                                                {webPOf("\x3F\x1F\0\x3F\x1F\0"s), true},
                                                {webPOf("\x40\x1F\0\x3F\x1F\0"s), false},
                                                {webPOf("\xFE\xFF\0\xFE\xFF\0"s), false}};
  for (const auto& [bytes, isImage] : cases)
    EXPECT_EQ(LinuxImageDecoder().isImage(bytes), isImage) << base64Encoded(bytes.substr(0, 200));
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
      {"webp of large frames", false, picture("large_frames.webp")}, {"webp of small frames", false, webPOfFrames(40'000)},
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

TEST(ImageDecoderTest, JudgesDamagedLosslessWebPAsItsLibraryDoes) {
  constexpr std::size_t containerSize = 40;  // Which is not damaged.
  for (const char* name : {"groups.webp", "palette.webp"}) {
    std::string image = picture(name);
    for (std::size_t bit = containerSize * 8; bit < image.size() * 8; bit += bit < 1600 ? 3 : 199) {
      const auto flip = static_cast<char>(1 << bit % 8);
      image[bit / 8] ^= flip;
      std::uint8_t* const pixels = WebPDecodeRGBA(bytesOf(image), image.size(), nullptr, nullptr);
      EXPECT_EQ(LinuxImageDecoder().isImage(image), pixels != nullptr) << name << " " << bit;
      WebPFree(pixels);
      image[bit / 8] ^= flip;
    }
  }
}

}  // namespace
}  // namespace lumora::testing
