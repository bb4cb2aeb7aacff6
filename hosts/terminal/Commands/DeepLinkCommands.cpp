// Links that the system opens in the host, and the person's answers to the alerts that follow
// (LumoraDeepLinks.cpp).
#include "hosts/terminal/Commands/Command.h"
#include "lumora/Facade/Lumora.h"

namespace lumora_host {
namespace {

CommandResult openURL(Host&, const Arguments& arguments) {
  const auto url = lumora::URL::parse(arguments.text(0));
  if (!url) throw CommandError("not a URL: " + arguments.text(0));
  return lumora::Lumora::sharedInstance().applicationOpenURL(*url);
}

CommandResult answer(Host& host, const Arguments& arguments) {
  const long index = arguments.wholeNumber(0);
  Display& display = host.platform.display();
  const lumora::Alert* alert = display.topAlert();
  if (!alert) return false;
  if (index < 0 || static_cast<std::size_t>(index) >= alert->buttons.size()) {
    throw CommandError("the alert has no button " + std::to_string(index));
  }
  display.answerTopAlert(static_cast<int>(index), arguments.optionalText(1));
  return true;
}

}  // namespace

CommandTable deepLinkCommands() {
  return {
      {"open-url", {1, 1, openURL}},
      {"answer", {1, 2, answer}},
  };
}

}  // namespace lumora_host
