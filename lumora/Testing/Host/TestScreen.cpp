// A display without pixels: it keeps what MessageScreens tells it to draw, until that is taken away.
#include "lumora/Testing/Host/TestScreen.h"

#include <stdexcept>

namespace lumora::testing {
namespace {

constexpr const char* resources = "LMRResources.bundle";
constexpr const char* layoutName = "LMRInApp";

std::string campaignOf(const Dictionary& description) {
  const std::string* campaign = findText(description, "campaign");
  return campaign ? *campaign : "";
}

std::string joined(const std::vector<std::string>& names) {
  std::string list;
  for (const std::string& name : names) list += (list.empty() ? "" : ", ") + name;
  return list;
}

}  // namespace

TestScreen::TestScreen(FakePlatform& fakes)
    : screens_(
          [this](MessageScreens::MessageId message, const Dictionary& description) {
            shown_.push_back({message, description});
            shownCampaigns_.push_back(campaignOf(description));
          },
          [this](MessageScreens::MessageId message) {
            std::erase_if(shown_, [message](const Shown& shown) { return shown.message == message; });
          }) {
  fakes.bundle.setResource(resources, resources);
  fakes.bundle.setLayout(resources, layoutName, screens_.layout());
  fakes.application.setRootViewController(screens_.window());
}

std::string TestScreen::campaign() const {
  return campaignOf(description());
}

Dictionary TestScreen::description() const {
  return shown_.empty() ? Dictionary() : shown_.back().description;
}

std::string TestScreen::text(const std::string& element) const {
  const Dictionary whole = description();
  const Dictionary* elements = findMap(whole, "elements");
  const Dictionary* part = elements ? findMap(*elements, element) : nullptr;
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
  if (shown_.empty()) {
    throw std::logic_error(
        "tap: no message is on screen; call showCampaign of the TestHost, or offerCampaign and report the "
        "event that it waits for");
  }
  if (screens_.tap(shown_.back().message, element)) return;
  throw std::logic_error("tap: the message on screen has no \"" + element +
                         "\" that can be tapped; it has: " + joined(tappableElements()));
}

}  // namespace lumora::testing
