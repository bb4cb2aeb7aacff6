// The keys of a text, in the order that decides which bad one is named. The second text of a layout has the
// same (LMRIASecondaryText).
#include "lumora/InApp/LMRIAPrimaryText.h"

#include "lumora/InApp/ComponentFactory.h"
#include "lumora/InApp/ComponentReader.h"

namespace lumora {
namespace {

using Presence = ComponentReader::Presence;
using Code = ComponentReader::Code;
using WholeNumber = ComponentReader::WholeNumber;

}  // namespace

std::shared_ptr<LMRIAPrimaryText> LMRIAPrimaryText::initWithData(
    const Dictionary* data, const std::optional<std::string>& campaingId) {
  return ComponentFactory::make<LMRIAPrimaryText>(data, campaingId);
}

bool LMRIAPrimaryText::readData(const Dictionary& data, const std::string& campaingId) {
  const ComponentReader reader(data, campaingId);
  return reader.read({{"color", Presence::required, &color_},
                      {"size", Presence::required, WholeNumber{size_}},
                      {"bold", Presence::required, &bold_},
                      {"italic", Presence::required, &italic_},
                      {"text", Presence::required, &text_},
                      {"alignment", Presence::required, Code{alignment_, alignmentCodes}},
                      {"underline", Presence::required, &underline_}}) &&
         reader.readAction(action_);
}

}  // namespace lumora
