// The keys of the close button, in the order that decides which bad one is named. A bad button costs only
// itself, though the line says that the campaign is dropped (LMRInAppMessage::readCloseButton).
#include "lumora/InApp/LMRIAClose.h"

#include "lumora/InApp/ComponentFactory.h"
#include "lumora/InApp/ComponentReader.h"

namespace lumora {
namespace {

using Presence = ComponentReader::Presence;
using Code = ComponentReader::Code;

constexpr CodeName closeStyles[] = {
    {"style1", 1}, {"style2", 2}, {"style3", 3}, {"style4", 4}, {"style5", 5}};

}  // namespace

std::shared_ptr<LMRIAClose> LMRIAClose::initWithData(const Dictionary* data,
                                                     const std::optional<std::string>& campaingId) {
  return ComponentFactory::make<LMRIAClose>(data, campaingId);
}

bool LMRIAClose::readData(const Dictionary& data, const std::string& campaingId) {
  const ComponentReader reader(data, campaingId);
  return reader.read({{"style", Presence::required, Code{style_, closeStyles}},
                      {"color", Presence::required, &color_},
                      {"layout_alignment", Presence::required, Code{layoutAlignment_, alignmentCodes}}}) &&
         reader.readAction(action_);
}

}  // namespace lumora
