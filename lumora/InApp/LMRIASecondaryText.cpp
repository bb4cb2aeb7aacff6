// A second text has the keys of the first (LMRIAPrimaryText); only its type is another.
#include "lumora/InApp/LMRIASecondaryText.h"

#include "lumora/InApp/ComponentFactory.h"

namespace lumora {

std::shared_ptr<LMRIASecondaryText> LMRIASecondaryText::initWithData(
    const Dictionary* data, const std::optional<std::string>& campaingId) {
  return ComponentFactory::make<LMRIASecondaryText>(data, campaingId);
}

}  // namespace lumora
