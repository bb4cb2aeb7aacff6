// The keys of a background, in the order that decides which bad one is named. ComponentReader reads them;
// what it means when the background is bad is LMRInAppMessage's to say.
#include "lumora/InApp/LMRIABackground.h"

#include "lumora/InApp/ComponentFactory.h"
#include "lumora/InApp/ComponentReader.h"

namespace lumora {
namespace {

using Presence = ComponentReader::Presence;
using Number = ComponentReader::Number;

}  // namespace

std::shared_ptr<LMRIABackground> LMRIABackground::initWithData(const Dictionary* data,
                                                               const std::optional<std::string>& campaingId) {
  return ComponentFactory::make<LMRIABackground>(data, campaingId);
}

bool LMRIABackground::readData(const Dictionary& data, const std::string& campaingId) {
  const ComponentReader reader(data, campaingId);
  if (!reader.read({{"color", Presence::optional, &color_}, {"uri", Presence::optional, &uri_}}))
    return false;
  // A colour or a picture will do; without both the line names both.
  if (!color_ && !uri_) return reader.drop("color | uri");
  return reader.read({{"radius", Presence::required, Number{radius_}},
                      {"border_color", Presence::required, &borderColor_},
                      {"border_width", Presence::required, Number{borderWidth_}}}) &&
         reader.readAction(action_);
}

}  // namespace lumora
