// Screens that a host draws by two functions: what is on display, and what a tap on each part tells the
// library. What is drawn, LMRInAppDescription says; what a tap does, LMRInAppHandler.
#include "lumora/InApp/MessageScreens.h"

#include <algorithm>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "lumora/InApp/LMRInAppDescription.h"
#include "lumora/InApp/LMRInAppHandler.h"
#include "lumora/InApp/LMRInAppViewController.h"

namespace lumora {
namespace {

/// The views with the tap recognizer; the other parts are buttons.
bool isView(std::string_view element) {
  return element == "image" || element == "background";
}

void tapView(LMRInAppHandler& handler, LMRTappable& view) {
  LMRTapGestureRecognizer& recognizer = handler.tapGestureRecognizer();
  recognizer.attachTo(&view);
  recognizer.recognize();
  recognizer.attachTo(nullptr);
}

}  // namespace

/// What is shown, the topmost last. Screens may outlive it.
struct MessageScreens::Display {
  class Screen;
  class Window;
  class Layout;

  void present(const std::shared_ptr<Screen>& screen);
  void dismiss(const Screen& screen);

  Show show;
  Dismiss dismissed;
  std::shared_ptr<ViewController> window;
  std::vector<std::shared_ptr<Screen>> screens;
  MessageId last = 0;
};

/// The screen of one message: made → given its message, on any thread → appears → dismissed.
class MessageScreens::Display::Screen : public LMRInAppViewController {
 public:
  explicit Screen(std::weak_ptr<Display> display) : display_(std::move(display)) {}

  void setModalPresentationStyle(ModalPresentationStyle style) override { style_ = style; }
  /// Messages present nothing themselves.
  void presentViewController(std::shared_ptr<ViewController>, bool) override {}
  void dismiss(bool) override {
    if (const auto display = display_.lock()) display->dismiss(*this);
  }
  void setInapp(std::shared_ptr<LMRInAppMessage> message) override { message_ = std::move(message); }

  MessageId id() const noexcept { return id_; }

  /// Builds the parts that can be tapped, and says what is to be drawn.
  Dictionary appear(MessageId id) {
    id_ = id;
    Dictionary description = describeInAppMessage(*message_);
    for (const auto& [name, element] : *findMap(description, "elements")) {
      const Dictionary& part = *element.asDictionary();
      if (const Value* type = findValue(part, "type")) addTappable(name, *type, findText(part, "action"));
    }
    description["presentation"] = static_cast<int>(style_);
    return description;
  }

  bool tap(std::string_view element) {
    const auto found = tappables_.find(element);
    if (found == tappables_.end()) return false;
    LMRInAppHandler& handler = LMRInAppHandler::sharedInstance();
    if (isView(element)) {
      tapView(handler, found->second);
    } else {
      handler.buttonAction(found->second);
    }
    return true;
  }

 private:
  void addTappable(const std::string& name, const Value& type, const std::string* action) {
    LMRTappable& tappable = tappables_[name];
    tappable.lmrCampaignId = message_->getCampaignId().value_or("");
    tappable.lmrFrequency = message_->getFrequency();
    tappable.lmrButtonType = static_cast<std::int32_t>(type.integerValue());
    tappable.lmrMessage = weak_from_this();
    if (action != nullptr) tappable.lmrAction = *action;
  }

  const std::weak_ptr<Display> display_;
  std::shared_ptr<LMRInAppMessage> message_ = std::make_shared<LMRInAppMessage>();
  ModalPresentationStyle style_ = ModalPresentationStyle::unset;
  MessageId id_ = 0;
  std::map<std::string, LMRTappable, std::less<>> tappables_;
};

/// The window's bottom screen: it shows nothing itself.
class MessageScreens::Display::Window : public ViewController {
 public:
  explicit Window(std::weak_ptr<Display> display) : display_(std::move(display)) {}

  void setModalPresentationStyle(ModalPresentationStyle) override {}
  void presentViewController(std::shared_ptr<ViewController> screen, bool) override {
    const auto display = display_.lock();
    const auto shown = std::dynamic_pointer_cast<Screen>(std::move(screen));
    if (display && shown) display->present(shown);
  }
  void dismiss(bool) override {}

 private:
  const std::weak_ptr<Display> display_;
};

class MessageScreens::Display::Layout : public LayoutResource {
 public:
  explicit Layout(std::weak_ptr<Display> display) : display_(std::move(display)) {}

  std::shared_ptr<ViewController> instantiateViewController(std::string_view identifier) override {
    if (identifier != "LMRInAppViewControllerPop" && identifier != "LMRInAppViewControllerFull")
      return nullptr;
    return std::make_shared<Screen>(display_);
  }

 private:
  const std::weak_ptr<Display> display_;
};

void MessageScreens::Display::present(const std::shared_ptr<Screen>& screen) {
  screens.push_back(screen);
  const Dictionary description = screen->appear(++last);
  if (show) show(screen->id(), description);
}

void MessageScreens::Display::dismiss(const Screen& screen) {
  const auto found = std::ranges::find_if(screens, [&](const auto& shown) { return shown.get() == &screen; });
  if (found == screens.end()) return;
  const auto taken = std::move(*found);  // Kept until the host has heard of it.
  screens.erase(found);
  if (dismissed) dismissed(taken->id());
}

MessageScreens::MessageScreens(Show show, Dismiss dismiss) : display_(std::make_shared<Display>()) {
  display_->show = std::move(show);
  display_->dismissed = std::move(dismiss);
  display_->window = std::make_shared<Display::Window>(display_);
}

MessageScreens::~MessageScreens() = default;

std::shared_ptr<ViewController> MessageScreens::window() const {
  return display_->window;
}

std::shared_ptr<LayoutResource> MessageScreens::layout() const {
  return std::make_shared<Display::Layout>(display_);
}

bool MessageScreens::tap(MessageId message, std::string_view element) {
  const auto found =
      std::ranges::find_if(display_->screens, [&](const auto& shown) { return shown->id() == message; });
  if (found == display_->screens.end()) return false;
  const auto screen = *found;  // Kept while its own tap takes it away.
  return screen->tap(element);
}

MessageScreens::MessageId MessageScreens::shown() const {
  return display_->screens.empty() ? 0 : display_->screens.back()->id();
}

}  // namespace lumora
