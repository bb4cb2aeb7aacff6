// The window, its layout, and the screens of messages.
#include "MessageScreen.h"

#include <iostream>
#include <vector>

#include "lumora/InApp/LMRInAppDescription.h"
#include "lumora/InApp/LMRInAppHandler.h"

namespace {

/// The library does not keep a screen that it has presented: the window does.
std::vector<std::shared_ptr<MessageScreen>> presented;

class Window : public lumora::ViewController {
 public:
  void setModalPresentationStyle(lumora::ModalPresentationStyle) override {}
  void presentViewController(std::shared_ptr<lumora::ViewController> screen, bool) override {
    presented.push_back(std::static_pointer_cast<MessageScreen>(screen));  // the layout makes no others
    presented.back()->draw();
  }
  void dismiss(bool) override {}
};

class Layout : public lumora::LayoutResource {
 public:
  std::shared_ptr<lumora::ViewController> instantiateViewController(std::string_view) override {
    return std::make_shared<MessageScreen>();
  }
};

}  // namespace

std::shared_ptr<lumora::ViewController> MessageScreen::window() {
  static const auto window = std::make_shared<Window>();
  return window;
}

std::shared_ptr<lumora::LayoutResource> MessageScreen::layout() {
  return std::make_shared<Layout>();
}

std::shared_ptr<MessageScreen> MessageScreen::top() {
  return presented.empty() ? nullptr : presented.back();
}

void MessageScreen::draw() const {
  const lumora::Dictionary description = lumora::describeInAppMessage(*message_);
  std::cout << "  +-- message: " << message_->getCampaignId().value_or("") << '\n';
  for (const auto& [name, part] : *lumora::findMap(description, "elements")) {
    const std::string* text = lumora::findText(*part.asDictionary(), "text");
    std::cout << "  | " << name << (text ? ": " + *text : "") << '\n';
  }
  std::cout << "  +-- tap ELEMENT" << std::endl;
}

void MessageScreen::dismiss(bool) {
  std::cout << "message dismissed" << std::endl;
  std::erase_if(presented, [this](const auto& screen) { return screen.get() == this; });
}

bool MessageScreen::tap(const std::string& element) {
  auto tapped = lumora::tappableElement(*message_, element, shared_from_this());
  if (tapped) lumora::LMRInAppHandler::sharedInstance().buttonAction(*tapped);
  return tapped.has_value();
}
