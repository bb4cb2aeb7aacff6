// A host with a screen: it reports the actions that are typed, draws messages as text, and passes taps on.
//     message ADDRESS CERTIFICATE

#include <iostream>
#include <string>
#include <thread>

#include "lumora/Facade/Lumora.h"
#include "lumora/InApp/MessageScreens.h"
#include "lumora/Platform/Linux/LinuxPlatform.h"
#include "lumora/Platform/Linux/LinuxTaskQueues.h"

namespace {

/// What a part of a message says, if it is a text or a button.
void draw(const lumora::Dictionary& elements, std::string_view part) {
  const lumora::Value* element = lumora::findValue(elements, part);
  if (element == nullptr) return;
  const lumora::Value* text = lumora::findValue(*element->asDictionary(), "text");
  if (text != nullptr) std::cout << "| " << part << ": " << text->description() << '\n';
}

void show(lumora::MessageScreens::MessageId /*message*/, const lumora::Dictionary& description) {
  std::cout << "+-- a message\n";
  for (const char* part : {"primary_text", "secondary_text", "primary_button", "secondary_button"}) {
    draw(*description.at("elements").asDictionary(), part);
  }
  std::cout << "+--\n" << std::flush;
}

void hide(lumora::MessageScreens::MessageId /*message*/) {
  std::cout << "the message is gone\n" << std::flush;
}

// Kept until the process ends, as everything is that the platform is given.
lumora::MessageScreens& screens() {
  static auto* const made = new lumora::MessageScreens(show, hide);
  return *made;
}

/// "tap PART" taps the message on screen, "forget me" erases everything; anything else is the name of an
/// action.
void obey(const std::string& line) {
  if (line == "forget me") {
    lumora::Lumora::sharedInstance().eraseAllData();
  } else if (!line.starts_with("tap ")) {
    lumora::Lumora::sharedInstance().reportAction(line);
  } else if (!screens().tap(screens().shown(), line.substr(4))) {
    std::cout << "there is nothing like that to tap\n" << std::flush;
  }
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3) {
    std::cerr << "message ADDRESS CERTIFICATE\n";
    return 64;
  }
  lumora::LinuxPlatformOptions options;
  options.info = {{"CFBundleIdentifier", "com.example.shop"}, {"CFBundleShortVersionString", "1.0"}};
  options.connectTo = argv[1];
  options.certificateAuthorityFile = argv[2];
  options.rootViewController = [] { return screens().window(); };
  options.layoutLoader = [](const std::string& /*path*/) { return screens().layout(); };
  options.urlOpener = [](const lumora::URL& url) {
    std::cout << "opened: " << url.absoluteString() << '\n' << std::flush;
    return true;
  };
  static auto* const host = new lumora::LinuxPlatform(options);
  lumora::installPlatform(host->platform());
  lumora::Lumora::sharedInstance().initializeWithTarrowID("acme", "s3cret");

  // The main queue belongs to this thread; another one reads what is typed.
  std::thread([] {
    for (std::string line; std::getline(std::cin, line);) {
      host->mainQueue().async([line] { obey(line); });
    }
    host->mainQueue().async([] { host->mainQueue().stop(); });
  }).detach();
  host->mainQueue().run();
}
