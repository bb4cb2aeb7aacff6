// The keys of a button, in the order that decides which bad one is named. Which of them are needed depends on
// whether it has a picture, which CampaignPictures fetches.
#include "lumora/InApp/LMRIAPrimaryButton.h"

#include "lumora/InApp/ComponentFactory.h"
#include "lumora/InApp/ComponentReader.h"

namespace lumora {
namespace {

using Presence = ComponentReader::Presence;
using Code = ComponentReader::Code;
using WholeNumber = ComponentReader::WholeNumber;

constexpr CodeName buttonStyles[] = {{"style1", 1}, {"style2", 2}, {"style3", 3}};

}  // namespace

std::shared_ptr<LMRIAPrimaryButton> LMRIAPrimaryButton::initWithData(
    const Dictionary* data, const std::optional<std::string>& campaingId) {
  return ComponentFactory::make<LMRIAPrimaryButton>(data, campaingId);
}

bool LMRIAPrimaryButton::readData(const Dictionary& data, const std::string& campaingId) {
  const ComponentReader reader(data, campaingId);
  if (!reader.read({{"uri", Presence::optional, &uri_}})) return false;
  // A button with a picture must be able to do without it, so it needs the styling keys.
  const Presence styling = uri_ ? Presence::required : Presence::optional;
  if (uri_ && !reader.has("color")) return reader.drop("color | uri");
  if (!reader.read({{"color", Presence::optional, &color_},
                    {"style", styling, Code{style_, buttonStyles}},
                    {"gradient", styling, &gradient_}})) {
    return false;
  }
  // A missing border is always logged, also where it may be missing.
  if (!reader.has("border")) {
    reader.drop("border");
    if (uri_) return false;
  }
  return reader.read({{"border", Presence::optional, &border_},
                      {"text_size", Presence::required, WholeNumber{textSize_}},
                      {"bold", Presence::required, &bold_},
                      {"italic", Presence::required, &italic_},
                      {"text", Presence::required, &text_},
                      {"text_color", Presence::required, &textColor_},
                      {"underline", Presence::required, &underline_}}) &&
         reader.readAction(action_);
}

}  // namespace lumora
