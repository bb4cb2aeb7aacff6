#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "lumora/Platform/Export.h"
#include "lumora/Platform/Value.h"

namespace lumora {

/// The button that closes a message.
/// `style` is 1 to 5; `layoutAlignment` is 100 (start), 101 (end) or 104 (center).
///
/// A plain value, built whole by the message that owns it and not changed afterwards.
class LUMORA_EXPORT LMRIAClose {
 public:
  /// Checks and reads a component object. Gives null, after the line that drops the campaign, when it has a
  /// bad value; null without a line when there is no object.
  static std::shared_ptr<LMRIAClose> initWithData(const Dictionary* data,
                                                  const std::optional<std::string>& campaingId);

  /// The component object as it was received.
  const Dictionary& getData() const noexcept { return bgData_; }
  const std::string& campaingId() const noexcept { return campaingId_; }
  std::int32_t style() const noexcept { return style_; }
  const std::optional<std::string>& color() const noexcept { return color_; }
  std::int32_t layoutAlignment() const noexcept { return layoutAlignment_; }
  const std::optional<std::string>& action() const noexcept { return action_; }
  /// The frequency code of the message, which copies it here.
  std::int32_t frequency() const noexcept { return frequency_; }
  void setFrequency(std::int32_t frequency) noexcept { frequency_ = frequency; }

 private:
  LUMORA_INTERNAL bool readData(const Dictionary& data, const std::string& campaingId);

  friend class ComponentFactory;

  std::string campaingId_;
  Dictionary bgData_;
  std::int32_t style_ = 0;
  std::optional<std::string> color_;
  std::int32_t layoutAlignment_ = 0;
  std::optional<std::string> action_;
  std::int32_t frequency_ = 0;
};

}  // namespace lumora
