// A host's life as its test plays it: everything goes the way that it goes in a real host, through the
// facade, the service and the application's notifications. What goes wrong is told with the library's own
// lines.
#include "lumora/Testing/Host/TestHost.h"

#include <algorithm>
#include <stdexcept>
#include <string_view>
#include <utility>

#include "lumora/Facade/Lumora.h"
#include "lumora/InApp/LMRInAppHandler.h"
#include "lumora/Util/EventKeys.h"
#include "lumora/Util/LMRSettingsKeys.h"

namespace lumora::testing {
namespace {

TestHost* started = nullptr;

/// The library's latest lines for developers, of which one usually names the cause.
std::string latestLines(const FakeSystemLog& log) {
  std::vector<std::string> lines = log.messages();
  std::erase_if(lines, [](const std::string& line) { return !line.starts_with("LumoraSDK-"); });
  constexpr std::size_t shown = 4;
  std::string text = lines.empty() ? "\nThe library wrote no line." : "\nThe library's last lines:";
  for (std::size_t i = lines.size() - std::min(lines.size(), shown); i < lines.size(); ++i) {
    text += "\n  " + lines[i];
  }
  return text;
}

std::string campaignText(const Dictionary& campaign, std::string_view key) {
  const Value* value = findValue(campaign, key);
  return value ? value->description() : "";
}

bool isWaiting(const std::string& campaign, const std::string& trigger) {
  const auto events = LMRInAppHandler::sharedInstance().lmrInappEvents();
  if (!events) return false;
  const auto found = events->find(trigger);
  return found != events->end() && found->second->getCampaignId() == campaign;
}

}  // namespace

TestHost& TestHost::start() {
  if (started) {
    throw std::logic_error(
        "TestHost::start: this process has had its test. The library lives as long as its process: let CTest "
        "run each test in one of its own (CMake: lumora_add_tests), or choose one with --gtest_filter");
  }
  started = new TestHost(FakePlatform::install());
  return *started;
}

TestHost::TestHost(FakePlatform& installed) : fakes(installed), service(installed), screen(installed) {}

void TestHost::initialize(const std::string& account, const std::string& secret) {
  Lumora::sharedInstance().initializeWithTarrowID(account, secret);
  run();
  if (Lumora::sharedInstance().sdkInitialized()) return;
  throw std::logic_error(
      "initialize: the library is not initialised. Let the service answer (goOnline, "
      "answerSync) before; a test of a start that fails calls initializeWithTarrowID itself" +
      latestLines(fakes.log));
}

void TestHost::run() {
  fakes.queues.runAll();
}

void TestHost::advance(std::chrono::microseconds duration) {
  run();
  // A timer that is started for no time at all must not hold the clock.
  constexpr std::chrono::milliseconds shortest(1);
  for (auto next = fakes.clock.untilNextTimer(); next && std::max(*next, shortest) < duration;
       next = fakes.clock.untilNextTimer()) {
    const auto step = std::max(*next, shortest);
    fakes.clock.advance(step);
    duration -= step;
    run();
  }
  fakes.clock.advance(duration);
  run();
}

void TestHost::upload() {
  Lumora::sharedInstance().reportAll();
  run();
}

void TestHost::enterBackground() {
  fakes.application.setState(ApplicationState::background);
  fakes.application.post(LifecycleNotification::didEnterBackground);
  run();
}

void TestHost::enterForeground() {
  fakes.application.post(LifecycleNotification::willEnterForeground);
  fakes.application.setState(ApplicationState::active);
  run();
}

void TestHost::offerCampaign(const Dictionary& campaign) {
  const std::string id = campaignText(campaign, "cid");
  if (!Lumora::sharedInstance().sdkInitialized()) {
    throw std::logic_error(
        "offerCampaign: the library is not initialised; let the code under test do that, or "
        "call initialize() first");
  }
  service.offerInNextSync(campaign);
  run();
  // Due at once, however recently the library asked.
  fakes.settings.removeObject(kLmroLastUpdate);
  Lumora::sharedInstance().appWillEnterForeground();
  run();
  if (isWaiting(id, campaignText(campaign, "display_trigger"))) return;
  throw std::logic_error("offerCampaign: the library did not take the campaign \"" + id +
                         "\". It must be complete, active and not ended, the only one of its event, and the "
                         "service online; start from a SampleCampaign" +
                         latestLines(fakes.log));
}

void TestHost::showCampaign(const Dictionary& campaign) {
  const std::string id = campaignText(campaign, "cid");
  if (const std::string other = screen.campaign(); !other.empty()) {
    throw std::logic_error("showCampaign: the message of \"" + other + "\" is on screen; tap it away first");
  }
  offerCampaign(campaign);
  LMRInAppHandler::sharedInstance().currentEvent(
      {{std::string(KEY_NAME), campaignText(campaign, "display_trigger")}});
  run();
  if (screen.campaign() == id) return;
  throw std::logic_error(
      "showCampaign: the message did not appear on the TestHost's screen; leave its window "
      "and its layout in their places" +
      latestLines(fakes.log));
}

void TestHost::tap(const std::string& element) {
  screen.tap(element);
  run();
}

}  // namespace lumora::testing
