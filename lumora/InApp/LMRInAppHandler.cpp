// Which campaign an event brings up, and what a tap on it does. The map from events to campaigns is built in
// LMRInAppHandlerMap.cpp, the screen in LMRInAppMessageDisplay.cpp.
#include "lumora/InApp/LMRInAppHandler.h"

#include "lumora/Events/LMREventLogger.h"
#include "lumora/InApp/CampaignPictures.h"
#include "lumora/InApp/MessageObserver.h"
#include "lumora/Storage/LMRDataManager.h"
#include "lumora/Util/CallGate.h"
#include "lumora/Util/EventKeys.h"
#include "lumora/Util/LMRUtil.h"
#include "lumora/Util/LumoraConstants.h"

namespace lumora {
namespace {

constexpr std::string_view KEY_INAPP_ACTION_CLOSE = "close";

enum Frequency : std::int32_t {
  oncePerSession = 2,
  everytimeUntilCallToAction = 3,
  oncePerSessionUntilCallToAction = 4,
  once = 5,
};

/// Values of a campaign's enable flag.
constexpr std::int32_t enabled = 1;
constexpr std::int32_t disabledUntilNextSession = 0;
constexpr std::int32_t disabledUntilSavedAgain = -1;

std::shared_ptr<LMRInAppMessage> campaignFor(const Value* name, const LMRInAppHandler::EventMap& events) {
  const std::string* trigger = name ? name->asString() : nullptr;
  const auto found = trigger ? events.find(*trigger) : events.end();
  return found == events.end() ? nullptr : found->second;
}

}  // namespace

LMRInAppHandler& LMRInAppHandler::sharedInstance() {
  static auto* const instance = new LMRInAppHandler;
  return *instance;
}

LMRInAppHandler::LMRInAppHandler()
    : tapGestureRecognizer_([this](LMRTapGestureRecognizer& recognizer) { imageAction(recognizer); }),
      pictures_(std::make_unique<CampaignPictures>()) {}

LMRInAppHandler::~LMRInAppHandler() = default;

void LMRInAppHandler::currentEvent(const Dictionary& event) {
  if (!CallGate::isOpen()) return;
  Lock lock(mutex_);
  // The first event of a run finds no map yet.
  if (!lmrInappEvents()) refill();
  // Before the map is read: a tap first takes its campaign out of the map and then clears this.
  if (onScreen_) return;
  const auto events = lmrInappEvents();
  if (!events) return;
  message_ = campaignFor(findValue(event, KEY_NAME), *events);
  if (!message_) return;
  LMRDataManager::sharedInstance().storeWaiting();  // What led to a screen outlives what is seen on it.
  message_->show();
  // Even where nothing could be shown; only a tap, or `setOnScreen`, ends it.
  onScreen_ = true;
}

void LMRInAppHandler::currentSession(std::string_view name) {
  if (name != kLmroSession) return;
  LMRDataManager::sharedInstance().updateResource(
      LMRResource::initWithCampaignId(std::nullopt, enabled, LMRResource::unchanged));
  // Its pictures were fetched before the session began, under no lock (Lumora::fetchPicturesBeforeSession).
  refill(Lacking::isGivenUp);
}

void LMRInAppHandler::imageAction(LMRTapGestureRecognizer& recognizer) {
  if (LMRTappable* view = recognizer.view()) processAction(*view);
}

void LMRInAppHandler::processAction(LMRTappable& element) {
  const CallGate::Pass pass;
  if (!pass) return ignoreTap(element);
  // The element may be a part of its screen, which ends as soon as nobody holds it.
  const LMRTappable tapped = element;
  const std::shared_ptr<ViewController> screen = tapped.lmrMessage.lock();
  // While the message counts as on screen still: this event brings up no other one.
  LMREventLogger::sharedInstance().reportInappWithSubType(std::string(KEY_INAPP_TAPPED),
                                                          tapped.lmrCampaignId);
  const bool isCallToAction = tapped.lmrButtonType != kLmroNoCallToAction;
  if (tapped.lmrFrequency == oncePerSession) {
    updateResource(tapped, disabledUntilNextSession);
  } else if (tapped.lmrFrequency == oncePerSessionUntilCallToAction && isCallToAction) {
    updateResource(tapped, disabledUntilNextSession);
  } else if (tapped.lmrFrequency == everytimeUntilCallToAction && isCallToAction) {
    updateResource(tapped, disabledUntilSavedAgain);
  } else if (tapped.lmrFrequency == once) {
    LMRDataManager::sharedInstance().clearCampaigns({tapped.lmrCampaignId});
  }
  if (screen) {
    element.lmrMessage.reset();  // The last use of the element: it may not outlive its screen's dismissal.
    screen->dismiss(false);
    if (MessageObserver* const observer = MessageObserver::current())
      observer->messageDismissed(tapped.lmrCampaignId);
  }
  onScreen_ = false;
  if (tapped.lmrAction && *tapped.lmrAction != KEY_INAPP_ACTION_CLOSE) {
    const LMRUtil& util = LMRUtil::sharedInstance();
    util.openUrl(util.getFormatedUrl(tapped.lmrAction));
  }
}

/// The screen goes as the person expects, and nothing else happens. A forked child has no screens.
void LMRInAppHandler::ignoreTap(LMRTappable& element) {
  if (CallGate::isClosed(Closed::inForkedChild)) return;
  const std::shared_ptr<ViewController> screen = element.lmrMessage.lock();
  element.lmrMessage.reset();
  if (screen) screen->dismiss(false);
  onScreen_ = false;
}

void LMRInAppHandler::updateResource(const LMRTappable& element, std::int32_t enable) {
  LMRDataManager::sharedInstance().updateResource(
      LMRResource::initWithCampaignId(element.lmrCampaignId, enable, LMRResource::unchanged));
  refill();
}

std::shared_ptr<const LMRInAppHandler::EventMap> LMRInAppHandler::lmrInappEvents() const {
  Lock lock(mapMutex_);
  return lmrInappEvents_;
}

void LMRInAppHandler::setLmrInappEvents(std::shared_ptr<const EventMap> events) {
  Lock lock(mapMutex_);
  lmrInappEvents_.swap(events);  // The old map is taken apart after the lock is released.
}

std::shared_ptr<LMRInAppMessage> LMRInAppHandler::message() const {
  Lock lock(mutex_);
  return message_;
}

}  // namespace lumora
