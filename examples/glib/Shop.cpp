// What the person does, line by line, and what the library shows.
#include "Shop.h"

#include <chrono>
#include <iostream>
#include <sstream>
#include <utility>

#include "lumora/Facade/Lumora.h"
#include "lumora/Platform/Linux/LinuxApplication.h"

using lumora::Lumora;

namespace {

/// A message on a terminal: its parts, with their texts.
void draw(const lumora::Dictionary& description) {
  std::cout << "  +-- message: " << description.at("campaign").description() << '\n';
  for (const auto& [name, part] : *lumora::findMap(description, "elements")) {
    const std::string* text = lumora::findText(*part.asDictionary(), "text");
    std::cout << "  | " << name << (text ? ": " + *text : "") << '\n';
  }
  std::cout << "  +-- tap ELEMENT" << std::endl;
}

}  // namespace

// Messages and platform are kept until the process ends: the library uses them to the last moment.
Shop::Shop(const std::string& connectTo, const std::string& authorities)
    : messages_(
          *new lumora::MessageScreens([](auto, const lumora::Dictionary& description) { draw(description); },
                                      [](auto) { std::cout << "message dismissed" << std::endl; })),
      platform_(*new lumora::LinuxPlatform(options(connectTo, authorities))) {
  lumora::installPlatform(platform_.platform());
  Lumora::sharedInstance().initializeWithTarrowID("acme", "s3cret");
}

/// The application's session ends with it. The alerts of the platform are this object's, so the library ends
/// first: what was reported is stored, and goes out with the next run where this one had no time for it.
Shop::~Shop() {
  enterBackground();
  Lumora::sharedInstance().shutdown(std::chrono::seconds(1));
}

lumora::LinuxPlatformOptions Shop::options(const std::string& connectTo, const std::string& authorities) {
  lumora::LinuxPlatformOptions options;
  options.info = {{"CFBundleIdentifier", "com.example.glib"}, {"CFBundleShortVersionString", "1.0"}};
  options.connectTo = connectTo;
  options.certificateAuthorityFile = authorities;
  options.alertPresenter = [this](lumora::Alert alert) { show(std::move(alert)); };
  options.layoutLoader = [this](const std::string&) { return messages_.layout(); };
  options.rootViewController = [this] { return messages_.window(); };
  options.urlOpener = [](const lumora::URL& url) {
    std::cout << "opens " << url.absoluteString() << std::endl;
    return true;
  };
  return options;
}

void Shop::show(lumora::Alert alert) {
  std::cout << "alert: " << alert.title << ": " << alert.message << '\n';
  for (std::size_t i = 0; i < alert.buttons.size(); ++i) {
    std::cout << "  answer " << i << (alert.textField ? " TEXT" : "") << ": " << alert.buttons[i] << '\n';
  }
  std::cout << std::flush;
  alerts_.push_back(std::move(alert));
}

void Shop::answer(int button, const std::string& text) {
  if (alerts_.empty()) return;
  const lumora::Alert alert = std::move(alerts_.back());
  alerts_.pop_back();
  if (alert.onButton) alert.onButton(button, text);
}

bool Shop::handleLine(const std::string& line) {
  std::istringstream words(line);
  std::string command, rest;
  words >> command;
  if (command == "quit") return false;
  if (command == "answer") {
    int button = 0;
    words >> button;
    std::getline(words >> std::ws, rest);
    answer(button, rest);
    return true;
  }
  std::getline(words >> std::ws, rest);
  if (command == "action") {
    Lumora::sharedInstance().reportAction(rest);
  } else if (command == "link") {
    const auto url = lumora::URL::parse(rest);
    if (!url || !Lumora::sharedInstance().applicationOpenURL(*url)) std::cout << "not Lumora's" << std::endl;
  } else if (command == "tap") {
    if (!messages_.tap(messages_.shown(), rest)) std::cout << "nothing like that on screen" << std::endl;
  } else if (command == "background") {
    enterBackground();
  } else if (command == "foreground") {
    enterForeground();
  } else {
    std::cout << "action NAME, link URL, tap ELEMENT, answer NUMBER [TEXT], background, foreground, quit"
              << std::endl;
  }
  return true;
}

void Shop::enterBackground() {
  platform_.application().setState(lumora::ApplicationState::background);
  platform_.application().post(lumora::LifecycleNotification::didEnterBackground);
}

void Shop::enterForeground() {
  platform_.application().setState(lumora::ApplicationState::active);
  platform_.application().post(lumora::LifecycleNotification::willEnterForeground);
}
