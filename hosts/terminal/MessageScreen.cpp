// One message on screen: its elements, and what a tap on each tells the library. Which screens are shown is
// in Screens.cpp; what is drawn, LMRInAppDescription says.
#include "hosts/terminal/MessageScreen.h"

#include <cstdint>

#include "lumora/InApp/LMRInAppDescription.h"
#include "lumora/InApp/LMRInAppHandler.h"

namespace lumora_host {
namespace {

/// The views with the tap recognizer; the other elements are buttons.
bool isView(const std::string& element) {
  return element == "image" || element == "background";
}

void tapView(lumora::LMRInAppHandler& handler, lumora::LMRTappable& view) {
  lumora::LMRTapGestureRecognizer& recognizer = handler.tapGestureRecognizer();
  recognizer.attachTo(&view);
  recognizer.recognize();
  recognizer.attachTo(nullptr);
}

}  // namespace

void MessageScreen::dismiss(bool) {
  screens_.dismiss(*this);
}

void MessageScreen::appear() {
  const lumora::Dictionary described = description();
  for (const auto& [name, element] : *described.at("elements").asDictionary()) {
    const lumora::Value* type = lumora::findValue(*element.asDictionary(), "type");
    if (type == nullptr) continue;
    const lumora::Value* action = lumora::findValue(*element.asDictionary(), "action");
    lumora::LMRTappable& tappable = tappables_[name];
    tappable.lmrCampaignId = campaign().value_or("");
    tappable.lmrFrequency = message_->getFrequency();
    tappable.lmrButtonType = static_cast<std::int32_t>(type->integerValue());
    tappable.lmrMessage = weak_from_this();
    if (action != nullptr && action->asString() != nullptr) tappable.lmrAction = *action->asString();
  }
}

lumora::Dictionary MessageScreen::description() const {
  lumora::Dictionary description = lumora::describeInAppMessage(*message_);
  description["presentation"] = static_cast<int>(style_);
  return description;
}

bool MessageScreen::tap(const std::string& element) {
  const auto found = tappables_.find(element);
  if (found == tappables_.end()) return false;
  lumora::LMRInAppHandler& handler = lumora::LMRInAppHandler::sharedInstance();
  if (isView(element)) {
    tapView(handler, found->second);
  } else {
    handler.buttonAction(found->second);
  }
  return true;
}

}  // namespace lumora_host
