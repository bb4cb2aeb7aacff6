#pragma once

#include "lumora/InApp/LMRIAPrimaryText.h"

namespace lumora {

/// The text below the headline; a type of its own, with nothing of its own.
class LUMORA_EXPORT LMRIASecondaryText : public LMRIAPrimaryText {
 public:
  static std::shared_ptr<LMRIASecondaryText> initWithData(const Dictionary* data,
                                                          const std::optional<std::string>& campaingId);
};

}  // namespace lumora
