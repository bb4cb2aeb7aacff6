// The stack of message screens, and the window's bottom screen, which does nothing but present them.
#include "hosts/terminal/Screens.h"

#include <algorithm>

#include "hosts/terminal/MessageScreen.h"

namespace lumora_host {
namespace {

using lumora::ModalPresentationStyle;
using lumora::ViewController;

/// The bottom screen: it shows nothing itself.
class RootScreen : public ViewController {
 public:
  explicit RootScreen(Screens& screens) : screens_(screens) {}

  void setModalPresentationStyle(ModalPresentationStyle) override {}
  void presentViewController(std::shared_ptr<ViewController> screen, bool) override {
    // Every screen of this host's layout is a message screen.
    screens_.present(std::static_pointer_cast<MessageScreen>(screen));
  }
  void dismiss(bool) override {}

 private:
  Screens& screens_;
};

class MessageLayout : public lumora::LayoutResource {
 public:
  explicit MessageLayout(Screens& screens) : screens_(screens) {}

  std::shared_ptr<ViewController> instantiateViewController(std::string_view identifier) override {
    if (identifier != "LMRInAppViewControllerPop" && identifier != "LMRInAppViewControllerFull")
      return nullptr;
    return std::make_shared<MessageScreen>(screens_);
  }

 private:
  Screens& screens_;
};

}  // namespace

Screens::Screens(Output& output) : output_(output), root_(std::make_shared<RootScreen>(*this)) {}

std::shared_ptr<lumora::LayoutResource> Screens::layout() {
  return std::make_shared<MessageLayout>(*this);
}

void Screens::present(std::shared_ptr<MessageScreen> screen) {
  shown_.push_back(screen);
  screen->appear();
  output_.write(JSONObject().add("screen", screen->description()));
}

void Screens::dismiss(const MessageScreen& screen) {
  const auto found = std::ranges::find_if(shown_, [&](const auto& shown) { return shown.get() == &screen; });
  if (found == shown_.end()) return;
  output_.write(JSONObject().add("dismissed", JSONObject().add("campaign", screen.campaign())));
  shown_.erase(found);
}

bool Screens::tap(const std::string& element) {
  if (shown_.empty()) return false;
  const auto top = shown_.back();  // Kept while its own tap takes it away.
  return top->tap(element);
}

}  // namespace lumora_host
