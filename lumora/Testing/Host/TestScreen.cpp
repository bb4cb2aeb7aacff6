// Screens without pixels: each keeps its message, and the window keeps the screens until they are dismissed.
#include "lumora/Testing/Host/TestScreen.h"

#include <optional>
#include <stdexcept>
#include <utility>

#include "lumora/InApp/LMRInAppDescription.h"
#include "lumora/InApp/LMRInAppHandler.h"
#include "lumora/InApp/LMRInAppViewController.h"

namespace lumora::testing {
namespace {

constexpr const char* resources = "LMRResources.bundle";
constexpr const char* layoutName = "LMRInApp";

const Dictionary* findElement(const Dictionary& description, const std::string& name) {
  const Dictionary* elements = findMap(description, "elements");
  return elements ? findMap(*elements, name) : nullptr;
}

std::string joined(const std::vector<std::string>& names) {
  std::string list;
  for (const std::string& name : names) list += (list.empty() ? "" : ", ") + name;
  return list;
}

}  // namespace

/// What the screens share with the display.
struct TestScreen::State {
  std::vector<std::shared_ptr<MessageScreen>> presented;
  std::vector<std::string> shownCampaigns;
};

class TestScreen::MessageScreen : public LMRInAppViewController {
 public:
  explicit MessageScreen(std::shared_ptr<State> state) : state_(std::move(state)) {}

  void setModalPresentationStyle(ModalPresentationStyle) override {}
  void presentViewController(std::shared_ptr<ViewController>, bool) override {}
  void dismiss(bool) override {
    std::erase_if(state_->presented, [this](const auto& screen) { return screen.get() == this; });
  }
  void setInapp(std::shared_ptr<LMRInAppMessage> message) override { message_ = std::move(message); }

  const LMRInAppMessage& message() const { return *message_; }

 private:
  const std::shared_ptr<State> state_;
  std::shared_ptr<LMRInAppMessage> message_;
};

class TestScreen::Root : public ViewController {
 public:
  explicit Root(std::shared_ptr<State> state) : state_(std::move(state)) {}

  void setModalPresentationStyle(ModalPresentationStyle) override {}
  void presentViewController(std::shared_ptr<ViewController> screen, bool) override {
    const auto message = std::dynamic_pointer_cast<MessageScreen>(screen);
    if (!message) return;
    state_->presented.push_back(message);
    state_->shownCampaigns.push_back(message->message().getCampaignId().value_or(""));
  }
  void dismiss(bool) override {}

 private:
  const std::shared_ptr<State> state_;
};

class TestScreen::Layout : public LayoutResource {
 public:
  explicit Layout(std::shared_ptr<State> state) : state_(std::move(state)) {}

  std::shared_ptr<ViewController> instantiateViewController(std::string_view) override {
    return std::make_shared<MessageScreen>(state_);
  }

 private:
  const std::shared_ptr<State> state_;
};

TestScreen::TestScreen(FakePlatform& fakes) : state_(std::make_shared<State>()) {
  fakes.bundle.setResource(resources, resources);
  fakes.bundle.setLayout(resources, layoutName, std::make_shared<Layout>(state_));
  fakes.application.setRootViewController(std::make_shared<Root>(state_));
}

TestScreen::~TestScreen() = default;

std::string TestScreen::campaign() const {
  if (state_->presented.empty()) return "";
  return state_->presented.back()->message().getCampaignId().value_or("");
}

std::vector<std::string> TestScreen::shownCampaigns() const {
  return state_->shownCampaigns;
}

Dictionary TestScreen::description() const {
  if (state_->presented.empty()) return {};
  return describeInAppMessage(state_->presented.back()->message());
}

std::string TestScreen::text(const std::string& element) const {
  const Dictionary whole = description();
  const Dictionary* part = findElement(whole, element);
  const std::string* text = part ? findText(*part, "text") : nullptr;
  return text ? *text : "";
}

std::vector<std::string> TestScreen::tappableElements() const {
  std::vector<std::string> names;
  const Dictionary whole = description();
  const Dictionary* elements = findMap(whole, "elements");
  if (!elements) return names;
  for (const auto& [name, part] : *elements) {
    if (part.asDictionary()->contains("type")) names.push_back(name);
  }
  return names;
}

void TestScreen::tap(const std::string& element) {
  if (state_->presented.empty()) {
    throw std::logic_error(
        "tap: no message is on screen; call showCampaign of the TestHost, or offerCampaign "
        "and report the event that it waits for");
  }
  const std::shared_ptr<MessageScreen> screen = state_->presented.back();  // Kept while its tap dismisses it.
  auto tapped = tappableElement(screen->message(), element, screen);
  if (!tapped) {
    throw std::logic_error("tap: the message on screen has no \"" + element +
                           "\" that can be tapped; it has: " + joined(tappableElements()));
  }
  LMRInAppHandler::sharedInstance().buttonAction(*tapped);
}

}  // namespace lumora::testing
