#pragma once

#include "lumora/InApp/LMRIAPrimaryButton.h"

namespace lumora {

/// The second button; a type of its own, with nothing of its own.
class LUMORA_EXPORT LMRIASecondaryButton : public LMRIAPrimaryButton {
 public:
  static std::shared_ptr<LMRIASecondaryButton> initWithData(const Dictionary* data,
                                                            const std::optional<std::string>& campaingId);
};

}  // namespace lumora
