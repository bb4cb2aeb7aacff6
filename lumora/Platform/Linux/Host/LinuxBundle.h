#pragma once

#include <functional>
#include <map>

#include "lumora/Platform/Bundle.h"

namespace lumora {

/// The host's package on Linux: texts that the host gave, and a folder of resources.
class LinuxBundle : public Bundle {
 public:
  using Texts = std::map<std::string, std::string, std::less<>>;
  using LayoutLoader = std::function<std::shared_ptr<LayoutResource>(const std::string& path)>;

  /// Without a loader there are no layouts.
  LinuxBundle(Texts info, Texts localizedTexts, std::string resourcesDirectory, LayoutLoader layoutLoader);
  std::optional<std::string> infoValue(std::string_view key) override;
  std::optional<std::string> pathForResource(std::string_view name, std::string_view type) override;
  /// The layout `name` is the file `name.html` of the bundle.
  std::shared_ptr<LayoutResource> loadLayout(const std::string& bundlePath, std::string_view name) override;
  std::string localizedString(std::string_view text) override;

 private:
  const Texts info_;
  const Texts localizedTexts_;
  const std::string resourcesDirectory_;
  const LayoutLoader layoutLoader_;
};

}  // namespace lumora
