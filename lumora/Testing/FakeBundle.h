#pragma once

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "lumora/Platform/Bundle.h"
#include "lumora/Platform/Mutex.h"

namespace lumora::testing {

/// A host's package in memory. At first it has the identifier "com.example.host", the version "1.0" with the
/// build "1", and no resources.
///
/// Thread safety: every operation may be called from any thread.
class LUMORA_EXPORT FakeBundle : public Bundle {
 public:
  FakeBundle();
  std::optional<std::string> infoValue(std::string_view key) override;
  std::optional<std::string> pathForResource(std::string_view name, std::string_view type) override;
  std::shared_ptr<LayoutResource> loadLayout(const std::string& bundlePath, std::string_view name) override;
  std::string localizedString(std::string_view text) override;

  /// Sets an information entry, or removes it.
  void setInfoValue(std::string_view key, std::optional<std::string> value);
  /// Sets the path of the resource `fileName` ("name.type"), or removes the resource.
  void setResource(std::string_view fileName, std::optional<std::string> path);
  /// Sets the layout of that name in the resource bundle at that path; null removes it.
  void setLayout(const std::string& bundlePath, std::string_view name,
                 std::shared_ptr<LayoutResource> layout);
  void setLocalizedString(std::string_view text, std::string localized);

 private:
  using Texts = std::map<std::string, std::string, std::less<>>;

  mutable Mutex mutex_;
  Texts info_ LUMORA_GUARDED_BY(mutex_);
  Texts resources_ LUMORA_GUARDED_BY(mutex_);
  Texts localizedTexts_ LUMORA_GUARDED_BY(mutex_);
  std::map<std::string, std::shared_ptr<LayoutResource>, std::less<>> layouts_ LUMORA_GUARDED_BY(mutex_);
};

}  // namespace lumora::testing
