#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "lumora/Platform/Export.h"
#include "lumora/Platform/ViewController.h"

namespace lumora {

/// Names of the information entries that the library reads.
inline constexpr std::string_view kBundleIdentifierKey = "CFBundleIdentifier";
inline constexpr std::string_view kBundleVersionKey = "CFBundleVersion";
inline constexpr std::string_view kBundleShortVersionKey = "CFBundleShortVersionString";

/// The host application's package: its information entries, resources and localised texts.
///
/// Thread safety: every operation may be called from any thread.
class LUMORA_EXPORT Bundle {
 public:
  virtual ~Bundle() = default;
  /// An information entry, or nothing when the host has none of that name.
  virtual std::optional<std::string> infoValue(std::string_view key) = 0;
  /// The path of the resource `name.type`, or nothing when there is none.
  virtual std::optional<std::string> pathForResource(std::string_view name, std::string_view type) = 0;
  /// Loads the layout resource of that name from the resource bundle at `bundlePath`; null when it is missing
  /// or cannot be used.
  virtual std::shared_ptr<LayoutResource> loadLayout(const std::string& bundlePath,
                                                     std::string_view name) = 0;
  /// The host's own wording of a text, or the text itself when it has none.
  virtual std::string localizedString(std::string_view text) = 0;
};

/// Passes everything to another bundle; a base for a host that replaces a single operation.
class LUMORA_EXPORT ForwardingBundle : public Bundle {
 public:
  explicit ForwardingBundle(Bundle& next) : next_(next) {}
  std::optional<std::string> infoValue(std::string_view key) override { return next_.infoValue(key); }
  std::optional<std::string> pathForResource(std::string_view name, std::string_view type) override {
    return next_.pathForResource(name, type);
  }
  std::shared_ptr<LayoutResource> loadLayout(const std::string& bundlePath, std::string_view name) override {
    return next_.loadLayout(bundlePath, name);
  }
  std::string localizedString(std::string_view text) override { return next_.localizedString(text); }

 private:
  Bundle& next_;
};

}  // namespace lumora
