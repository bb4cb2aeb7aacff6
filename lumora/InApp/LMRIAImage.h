#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "lumora/Platform/Export.h"
#include "lumora/Platform/Value.h"

namespace lumora {

/// The picture of a message.
/// `scale_type` is 100 (width), 101 (height), 102 (both), or 0 when none was given.
///
/// A plain value, built whole by the message that owns it and not changed afterwards.
class LUMORA_EXPORT LMRIAImage {
 public:
  /// Checks and reads a component object. Gives null, after the line that drops the campaign, when it has a
  /// bad value; null without a line when there is no object.
  static std::shared_ptr<LMRIAImage> initWithData(const Dictionary* data,
                                                  const std::optional<std::string>& campaingId);

  /// The component object as it was received.
  const Dictionary& getData() const noexcept { return bgData_; }
  const std::string& campaingId() const noexcept { return campaingId_; }
  const std::optional<std::string>& uri() const noexcept { return uri_; }
  const Value& margin() const noexcept { return margin_; }
  const Value& radius() const noexcept { return radius_; }
  const std::optional<std::string>& borderColor() const noexcept { return borderColor_; }
  const Value& borderWidth() const noexcept { return borderWidth_; }
  std::int32_t scale_type() const noexcept { return scale_type_; }
  const std::optional<std::string>& action() const noexcept { return action_; }

 private:
  LUMORA_INTERNAL bool readData(const Dictionary& data, const std::string& campaingId);

  friend class ComponentFactory;

  std::string campaingId_;
  Dictionary bgData_;
  std::optional<std::string> uri_;
  Value margin_;
  Value radius_;
  std::optional<std::string> borderColor_;
  Value borderWidth_;
  std::int32_t scale_type_ = 0;
  std::optional<std::string> action_;
};

}  // namespace lumora
