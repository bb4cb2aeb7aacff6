#include "lumora/InApp/LMRInAppHandler.h"

#include <utility>

#include "lumora/Events/EventKeys.h"
#include "lumora/Events/LMREventLogger.h"
#include "lumora/Facade/LumoraConstants.h"
#include "lumora/Storage/LMRDataManager.h"
#include "lumora/Util/LMRUtil.h"

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
    : tapGestureRecognizer_([this](LMRTapGestureRecognizer& recognizer) { imageAction(recognizer); }) {}

void LMRInAppHandler::currentEvent(const Dictionary& event) {
  Lock lock(mutex_);
  if (!lmrInappEvents()) LMRDataManager::sharedInstance().getAllValidMessages();
  const auto events = lmrInappEvents();
  if (onScreen_ || !events) return;
  message_ = campaignFor(findValue(event, KEY_NAME), *events);
  if (!message_) return;
  message_->show();
  onScreen_ = true;
}

void LMRInAppHandler::currentSession(std::string_view name) {
  if (name != kLmroSession) return;
  LMRDataManager& store = LMRDataManager::sharedInstance();
  store.updateResource(LMRResource::initWithCampaignId(std::nullopt, enabled, LMRResource::unchanged));
  store.getAllValidMessages();
}

void LMRInAppHandler::imageAction(LMRTapGestureRecognizer& recognizer) {
  if (LMRTappable* view = recognizer.view()) processAction(*view);
}

void LMRInAppHandler::processAction(LMRTappable& element) {
  LMREventLogger::sharedInstance().reportInappWithSubType(std::string(KEY_INAPP_TAPPED),
                                                          element.lmrCampaignId);
  const bool isCallToAction = element.lmrButtonType != kLmroNoCallToAction;
  if (element.lmrFrequency == oncePerSession) {
    updateResource(element, disabledUntilNextSession);
  } else if (element.lmrFrequency == oncePerSessionUntilCallToAction && isCallToAction) {
    updateResource(element, disabledUntilNextSession);
  } else if (element.lmrFrequency == everytimeUntilCallToAction && isCallToAction) {
    updateResource(element, disabledUntilSavedAgain);
  } else if (element.lmrFrequency == once) {
    LMRDataManager::sharedInstance().clearCampaigns({element.lmrCampaignId});
  }
  if (const auto screen = std::exchange(element.lmrMessage, nullptr)) screen->dismiss(false);
  onScreen_ = false;
  if (element.lmrAction && *element.lmrAction != KEY_INAPP_ACTION_CLOSE) {
    const LMRUtil& util = LMRUtil::sharedInstance();
    util.openUrl(util.getFormatedUrl(element.lmrAction));
  }
}

void LMRInAppHandler::updateResource(const LMRTappable& element, std::int32_t enable) {
  LMRDataManager& store = LMRDataManager::sharedInstance();
  store.updateResource(
      LMRResource::initWithCampaignId(element.lmrCampaignId, enable, LMRResource::unchanged));
  store.getAllValidMessages();
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
