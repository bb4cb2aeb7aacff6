// A message as the object from which a screen can draw it. What the fields mean is in the components'
// headers; where a picture lies is LMRIOManager's to say.
#include "lumora/InApp/LMRInAppDescription.h"

#include <optional>
#include <string>
#include <utility>

#include "lumora/Storage/LMRIOManager.h"

namespace lumora {
namespace {

Dictionary withoutNulls(Dictionary fields) {
  std::erase_if(fields, [](const auto& field) { return field.second.isNull(); });
  return fields;
}

/// Where a part's picture lies in the cache; null when it is not there.
template <typename Component>
Value cachedFile(const Component& component) {
  const auto& cache = LMRIOManager::sharedInstance();
  const std::optional<std::string> campaignId = component.campaingId();
  if (!cache.isFileExists(component.uri(), campaignId)) return nullptr;
  return cache.pathForFile(component.uri(), campaignId);
}

Dictionary describe(const LMRIABackground& background) {
  return {{"color", background.color()},
          {"uri", background.uri()},
          {"file", cachedFile(background)},
          {"radius", background.radius()},
          {"borderColor", background.borderColor()},
          {"borderWidth", background.borderWidth()}};
}

Dictionary describe(const LMRIAImage& image) {
  return {{"uri", image.uri()},
          {"file", cachedFile(image)},
          {"margin", image.margin()},
          {"radius", image.radius()},
          {"borderColor", image.borderColor()},
          {"borderWidth", image.borderWidth()},
          {"scale_type", image.scale_type()}};
}

Dictionary describe(const LMRIAPrimaryText& text) {
  return {{"text", text.text()},           {"color", text.color()}, {"size", text.size()},
          {"alignment", text.alignment()}, {"bold", text.bold()},   {"italic", text.italic()},
          {"underline", text.underline()}};
}

Dictionary describe(const LMRIAPrimaryButton& button) {
  return {{"uri", button.uri()},     {"file", cachedFile(button)},    {"color", button.color()},
          {"style", button.style()}, {"gradient", button.gradient()}, {"border", button.border()},
          {"text", button.text()},   {"textSize", button.textSize()}, {"textColor", button.textColor()},
          {"bold", button.bold()},   {"italic", button.italic()},     {"underline", button.underline()}};
}

Dictionary describe(const LMRIAClose& button) {
  return {{"style", button.style()},
          {"color", button.color()},
          {"layoutAlignment", button.layoutAlignment()},
          {"frequency", button.frequency()}};
}

template <typename Text>
void addText(Dictionary& elements, const char* name, const Text& text) {
  if (text) elements.emplace(name, withoutNulls(describe(*text)));
}

void addTappable(Dictionary& elements, const char* name, std::int32_t type, Dictionary description,
                 const std::optional<std::string>& action) {
  Dictionary fields = withoutNulls(std::move(description));
  fields.emplace("type", type);
  // After the nulls were taken out: an action that is null says that a tap only closes.
  fields.emplace("action", action);
  elements.emplace(name, std::move(fields));
}

template <typename Part>
void addTappable(Dictionary& elements, const char* name, std::int32_t type, const Part& part) {
  if (part) addTappable(elements, name, type, describe(*part), part->action());
}

}  // namespace

Dictionary describeInAppMessage(const LMRInAppMessage& message) {
  Dictionary elements;
  addTappable(elements, "background", kLmroBackgroundType, message.background());
  addTappable(elements, "image", kLmroImageType, message.image());
  addText(elements, "primary_text", message.primaryText());
  addText(elements, "secondary_text", message.secondaryText());
  addTappable(elements, "primary_button", kLmroPrimaryButtonType, message.primaryButton());
  addTappable(elements, "secondary_button", kLmroSecondaryButtonType, message.secondaryButton());
  addTappable(elements, "close_button", kLmroCloseButtonType, message.closeButton());
  return {{"campaign", message.getCampaignId()},
          {"container", message.containerView()},
          {"layout", message.getType()},
          {"frequency", message.getFrequency()},
          {"elements", std::move(elements)}};
}

}  // namespace lumora
