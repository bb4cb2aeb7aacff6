#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "lumora/Platform/Export.h"
#include "lumora/Platform/Value.h"

namespace lumora {

/// The headline of a message.
/// `alignment` is 100 (start), 101 (end) or 104 (center); `size` is a whole number.
///
/// A plain value, built whole by the message that owns it and not changed afterwards.
class LUMORA_EXPORT LMRIAPrimaryText {
 public:
  /// Checks and reads a component object. Gives null, after the line that drops the campaign, when it has a
  /// bad value; null without a line when there is no object.
  static std::shared_ptr<LMRIAPrimaryText> initWithData(const Dictionary* data,
                                                        const std::optional<std::string>& campaingId);
  virtual ~LMRIAPrimaryText() = default;

  /// The component object as it was received.
  const Dictionary& getData() const noexcept { return bgData_; }
  const std::string& campaingId() const noexcept { return campaingId_; }
  const std::optional<std::string>& text() const noexcept { return text_; }
  const std::optional<std::string>& color() const noexcept { return color_; }
  const Value& size() const noexcept { return size_; }
  std::int32_t alignment() const noexcept { return alignment_; }
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
  std::optional<std::string> text_;
  std::optional<std::string> color_;
  Value size_;
  std::int32_t alignment_ = 0;
  bool bold_ = false;
  bool italic_ = false;
  bool underline_ = false;
  std::optional<std::string> action_;
};

}  // namespace lumora
