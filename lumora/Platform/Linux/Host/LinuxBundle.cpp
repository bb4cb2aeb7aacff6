// The host's information, texts and resources, as it gave them to the Linux platform (LinuxPlatformOptions).
// What a layout file holds only the host's loader knows.
#include "lumora/Platform/Linux/Host/LinuxBundle.h"

#include <fmt/format.h>
#include <unistd.h>

#include <utility>

namespace lumora {
namespace {

std::optional<std::string> lookUp(const LinuxBundle::Texts& texts, std::string_view key) {
  const auto entry = texts.find(key);
  if (entry == texts.end()) return std::nullopt;
  return entry->second;
}

bool exists(const std::string& path) {
  return ::access(path.c_str(), F_OK) == 0;
}

}  // namespace

LinuxBundle::LinuxBundle(Texts info, Texts localizedTexts, std::string resourcesDirectory,
                         LayoutLoader layoutLoader)
    : info_(std::move(info)),
      localizedTexts_(std::move(localizedTexts)),
      resourcesDirectory_(std::move(resourcesDirectory)),
      layoutLoader_(std::move(layoutLoader)) {}

std::optional<std::string> LinuxBundle::infoValue(std::string_view key) {
  return lookUp(info_, key);
}

std::optional<std::string> LinuxBundle::pathForResource(std::string_view name, std::string_view type) {
  std::string path = fmt::format("{}/{}.{}", resourcesDirectory_, name, type);
  if (!exists(path)) return std::nullopt;
  return path;
}

std::shared_ptr<LayoutResource> LinuxBundle::loadLayout(const std::string& bundlePath,
                                                        std::string_view name) {
  const std::string path = fmt::format("{}/{}.html", bundlePath, name);
  return layoutLoader_ && exists(path) ? layoutLoader_(path) : nullptr;
}

std::string LinuxBundle::localizedString(std::string_view text) {
  return lookUp(localizedTexts_, text).value_or(std::string(text));
}

}  // namespace lumora
