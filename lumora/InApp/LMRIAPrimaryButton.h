#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "lumora/Platform/Export.h"
#include "lumora/Platform/Value.h"

namespace lumora {

/// The first button of a message: drawn from a picture, or from its colour and style.
/// `style` is 1 to 3, or 0 when none was given; `textSize` is a whole number.
///
/// A plain value, built whole by the message that owns it and not changed afterwards.
class LUMORA_EXPORT LMRIAPrimaryButton {
 public:
  /// Checks and reads a component object. Gives null, after the line that drops the campaign, when it has a
  /// bad value; null without a line when there is no object.
  static std::shared_ptr<LMRIAPrimaryButton> initWithData(const Dictionary* data,
                                                          const std::optional<std::string>& campaingId);
  virtual ~LMRIAPrimaryButton() = default;

  /// The component object as it was received.
  const Dictionary& getData() const noexcept { return bgData_; }
  const std::string& campaingId() const noexcept { return campaingId_; }
  const std::optional<std::string>& uri() const noexcept { return uri_; }
  const std::optional<std::string>& color() const noexcept { return color_; }
  std::int32_t style() const noexcept { return style_; }
  bool gradient() const noexcept { return gradient_; }
  bool border() const noexcept { return border_; }
  const std::optional<std::string>& text() const noexcept { return text_; }
  const Value& textSize() const noexcept { return textSize_; }
  const std::optional<std::string>& textColor() const noexcept { return textColor_; }
  bool bold() const noexcept { return bold_; }
  bool italic() const noexcept { return italic_; }
  bool underline() const noexcept { return underline_; }
  const std::optional<std::string>& action() const noexcept { return action_; }

 protected:
  LUMORA_INTERNAL bool readData(const Dictionary& data, const std::string& campaingId);

 private:
  friend class ComponentFactory;

  std::string campaingId_;
  Dictionary bgData_;
  std::optional<std::string> uri_;
  std::optional<std::string> color_;
  std::int32_t style_ = 0;
  bool gradient_ = false;
  bool border_ = false;
  std::optional<std::string> text_;
  Value textSize_;
  std::optional<std::string> textColor_;
  bool bold_ = false;
  bool italic_ = false;
  bool underline_ = false;
  std::optional<std::string> action_;
};

}  // namespace lumora
