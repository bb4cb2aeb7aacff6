// The layouts as tables: what each is built from, and which pictures its object may name. LMRInAppMessage
// builds the components, CampaignPictures fetches the pictures.
#include "lumora/InApp/CampaignLayout.h"

#include <algorithm>

namespace lumora {
namespace {

constexpr LayoutType layoutTypes[] = {
    {"layout1", 101, {"background", "image", "primary_text", "secondary_text", "primary_button"}},
    {"layout2", 102, {"background", "image", "primary_button"}},
    {"layout3", 103, {"background", "primary_text", "secondary_text", "primary_button", "secondary_button"}},
    {"layout4", 104, {"image"}},
    {"layout5", 105, {"image", "primary_text", "secondary_text", "primary_button"}},
    {"layout6", 106, {"image", "primary_text", "secondary_text", "primary_button", "secondary_button"}},
};

/// The layout keys whose objects may name a picture, in the order in which the pictures are fetched.
struct PictureKey {
  std::string_view key;
  std::string_view reason;
};
constexpr PictureKey pictureKeys[] = {{"background", "background uri"},
                                      {"image", "image uri"},
                                      {"primary_button", "primary button uri"},
                                      {"secondary_button", "secondary button uri"}};

/// A background or a button that the layout is built from falls back to its colour; an image cannot.
bool canDoWithout(const Dictionary& layout, std::string_view key) {
  const std::string* name = findText(layout, "type");
  const LayoutType* type = name ? layoutTypeNamed(*name) : nullptr;
  const Dictionary* part = findMap(layout, key);
  return key != "image" && type && std::ranges::count(type->components, key) > 0 && part &&
         findText(*part, "color");
}

}  // namespace

const LayoutType* layoutTypeNamed(std::string_view name) {
  const auto* const type = std::ranges::find(layoutTypes, name, &LayoutType::name);
  return type == std::end(layoutTypes) ? nullptr : type;
}

std::vector<CampaignPicture> picturesOf(const Dictionary& layout) {
  std::vector<CampaignPicture> pictures;
  for (const PictureKey& entry : pictureKeys) {
    if (!findValue(layout, entry.key)) continue;
    const Dictionary* part = findMap(layout, entry.key);
    const std::string* uri = part ? findText(*part, "uri") : nullptr;
    pictures.push_back(
        {entry.reason, uri ? std::optional(*uri) : std::nullopt, !canDoWithout(layout, entry.key)});
  }
  return pictures;
}

}  // namespace lumora
