// Pictures of messages on their way into a page that may read no files.
#include "service/Pictures.h"

#include <openssl/evp.h>

#include <filesystem>
#include <utility>

#include "service/Files.h"

namespace lumora::service {
namespace {

namespace fs = std::filesystem;

constexpr std::uintmax_t kLargestPicture = 16U * 1024 * 1024;

std::string base64(std::string_view bytes) {
  std::string text(4 * ((bytes.size() + 2) / 3) + 1, '\0');
  const auto* const data = reinterpret_cast<const unsigned char*>(bytes.data());
  const int length =
      EVP_EncodeBlock(reinterpret_cast<unsigned char*>(text.data()), data, static_cast<int>(bytes.size()));
  text.resize(static_cast<std::size_t>(length));
  return text;
}

bool isIn(const std::string& file, const std::string& folder) {
  std::error_code error;
  const fs::path inside =
      fs::weakly_canonical(file, error).lexically_relative(fs::weakly_canonical(folder, error));
  return !error && !inside.empty() && *inside.begin() != "..";
}

std::optional<std::string> dataURL(const std::string& file, const std::string& folder) {
  if (!isIn(file, folder)) return std::nullopt;
  const auto bytes = pictureBytes(file);
  const std::string_view type = bytes ? pictureType(*bytes) : "";
  if (type.empty()) return std::nullopt;
  return "data:" + std::string(type) + ";base64," + base64(*bytes);
}

}  // namespace

std::string_view pictureType(std::string_view bytes) {
  using namespace std::string_view_literals;
  if (bytes.starts_with("\x89PNG\r\n\x1a\n"sv)) return "image/png";
  if (bytes.starts_with("\xff\xd8\xff"sv)) return "image/jpeg";
  if (bytes.starts_with("GIF87a"sv) || bytes.starts_with("GIF89a"sv)) return "image/gif";
  if (bytes.starts_with("RIFF"sv) && bytes.size() > 12 && bytes.substr(8, 4) == "WEBP") return "image/webp";
  return {};
}

std::optional<std::string> pictureBytes(const std::string& file) {
  std::error_code error;
  if (!fs::is_regular_file(file, error) || fs::file_size(file, error) > kLargestPicture || error)
    return std::nullopt;
  return readFile(file);
}

JSON withPictures(JSON description, const std::string& folder) {
  const auto elements = description.find("elements");
  if (elements == description.end() || !elements->is_object()) return description;
  for (JSON& element : *elements) {
    const auto file = element.is_object() ? element.find("file") : element.end();
    if (!element.is_object() || file == element.end()) continue;
    if (auto url = file->is_string() ? dataURL(file->get<std::string>(), folder) : std::nullopt) {
      *file = std::move(*url);
    } else {
      element.erase("file");
    }
  }
  return description;
}

}  // namespace lumora::service
