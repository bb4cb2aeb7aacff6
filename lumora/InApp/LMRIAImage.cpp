// The keys of an image, in the order that decides which bad one is named. Its picture is fetched by
// CampaignPictures, and needed: an image has no colour to fall back to.
#include "lumora/InApp/LMRIAImage.h"

#include "lumora/InApp/ComponentFactory.h"
#include "lumora/InApp/ComponentReader.h"

namespace lumora {
namespace {

using Presence = ComponentReader::Presence;
using Code = ComponentReader::Code;
using Number = ComponentReader::Number;

constexpr CodeName scaleTypes[] = {{"width", 100}, {"height", 101}, {"both", 102}};

}  // namespace

std::shared_ptr<LMRIAImage> LMRIAImage::initWithData(const Dictionary* data,
                                                     const std::optional<std::string>& campaingId) {
  return ComponentFactory::make<LMRIAImage>(data, campaingId);
}

bool LMRIAImage::readData(const Dictionary& data, const std::string& campaingId) {
  const ComponentReader reader(data, campaingId);
  return reader.read({{"uri", Presence::required, &uri_},
                      {"margin", Presence::required, Number{margin_}},
                      {"radius", Presence::required, Number{radius_}},
                      {"border_color", Presence::required, &borderColor_},
                      {"border_width", Presence::required, Number{borderWidth_}}}) &&
         reader.readAction(action_) &&
         reader.read({{"scale_type", Presence::optional, Code{scale_type_, scaleTypes}}});
}

}  // namespace lumora
