// A second button has the keys of the first (LMRIAPrimaryButton); only its type is another.
#include "lumora/InApp/LMRIASecondaryButton.h"

#include "lumora/InApp/ComponentFactory.h"

namespace lumora {

std::shared_ptr<LMRIASecondaryButton> LMRIASecondaryButton::initWithData(
    const Dictionary* data, const std::optional<std::string>& campaingId) {
  return ComponentFactory::make<LMRIASecondaryButton>(data, campaingId);
}

}  // namespace lumora
