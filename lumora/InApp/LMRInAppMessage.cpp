// One campaign, read and checked: the first thing that is bad drops it, with a line. Components read their
// own keys, showing is in LMRInAppMessageDisplay.cpp, storing in LMRDataManagerCampaigns.cpp.
#include "lumora/InApp/LMRInAppMessage.h"

#include <algorithm>
#include <limits>

#include "lumora/InApp/CampaignDate.h"
#include "lumora/InApp/CampaignLayout.h"
#include "lumora/InApp/ComponentReader.h"
#include "lumora/Platform/Platform.h"
#include "lumora/Storage/CampaignRow.h"
#include "lumora/Storage/LMRDataManager.h"
#include "lumora/Storage/LMRIOManager.h"
#include "lumora/Util/DecimalText.h"
#include "lumora/Util/EventKeys.h"
#include "lumora/Util/LMRUtil.h"

namespace lumora {
namespace {

constexpr CodeName statusCodes[] = {{"active", LMRInAppMessage::active},
                                    {"pause", LMRInAppMessage::paused},
                                    {"stop", LMRInAppMessage::stopped}};
constexpr CodeName frequencyCodes[] = {{"everytime", 1},
                                       {"once_per_session", 2},
                                       {"everytime_until_cta", 3},
                                       {"once_per_session_until_cta", 4},
                                       {"once", 5}};

constexpr std::int32_t unknownLayoutCode = 107;

/// The identifier as text; a number becomes its decimal text.
std::optional<std::string> readCampaignId(const Dictionary& campaign) {
  const Value* value = findValue(campaign, KEY_INAPP_CAMPAING_ID);
  if (!value) return std::nullopt;
  if (const auto* text = value->asString()) return *text;
  if (value->isNumber() && !value->isBoolean()) return decimalText(*value);
  return std::nullopt;
}

std::string wholeMilliseconds(double milliseconds) {
  return std::to_string(Value(milliseconds).integerValue());
}

}  // namespace

std::shared_ptr<LMRInAppMessage> LMRInAppMessage::initWithDictionary(
    const std::optional<Dictionary>& campaign) {
  auto message = initWithoutPictures(campaign);
  return message && message->getResource(message->layout_) ? message : nullptr;
}

std::shared_ptr<LMRInAppMessage> LMRInAppMessage::initWithoutPictures(
    const std::optional<Dictionary>& campaign) {
  auto message = std::make_shared<LMRInAppMessage>();
  message->data_ = campaign;
  // No object at all is no bad one: it makes an empty message.
  return !campaign || message->read(*campaign) ? message : nullptr;
}

bool LMRInAppMessage::drop(std::string_view reason) const {
  return dropCampaign(campaign_id_.value_or("nil"), reason);
}

bool LMRInAppMessage::read(const Dictionary& campaign) {
  if (!readIdentity(campaign)) return false;
  // At once: the store must learn the new status even when the campaign turns out to be bad.
  updateStateIfNeeded();
  if (const Dictionary* layout = findMap(campaign, "layout")) layout_ = *layout;
  if (const Value* version = findValue(campaign, "version")) {
    version_ = static_cast<std::int32_t>(std::clamp<std::int64_t>(version->integerValue(),
                                                                  std::numeric_limits<std::int32_t>::min(),
                                                                  std::numeric_limits<std::int32_t>::max()));
  }
  if (const Value* action = findValue(campaign, "action")) action_ = *action;
  return readDisplayRules(campaign) && readTimes(campaign) && readLayout() && readCloseButton();
}

bool LMRInAppMessage::readIdentity(const Dictionary& campaign) {
  campaign_id_ = readCampaignId(campaign);
  if (!campaign_id_) return drop("campaingId");
  const std::string* status = findText(campaign, "status");
  if (!status) return drop("status");
  // A status that is not known counts as active.
  status_ = codeForText(statusCodes, *status).value_or(active);
  return true;
}

bool LMRInAppMessage::readDisplayRules(const Dictionary& campaign) {
  const std::string* trigger = findText(campaign, "display_trigger");
  if (!trigger) return drop("display_trigger");
  display_trigger_ = *trigger;
  const std::string* frequency = findText(campaign, "display_frequency");
  if (!frequency) return drop("display_frequency");
  // One that is not known limits nothing.
  display_frequency_ = codeForText(frequencyCodes, *frequency).value_or(0);
  return true;
}

bool LMRInAppMessage::readTimes(const Dictionary& campaign) {
  // The end comes first: its line is written when both are bad.
  const std::string* end = findText(campaign, "end_time");
  if (end) end_time_ = getTimeStamp(*end);
  if (!end_time_) return drop("end_time");
  const std::string* start = findText(campaign, "start_time");
  if (start) start_time_ = getTimeStamp(*start);
  return !start || start_time_ || drop("start_time");
}

bool LMRInAppMessage::readLayout() {
  const std::string* name = findText(layout_, "type");
  if (!name) return drop("type");
  const LayoutType* type = layoutTypeNamed(*name);
  if (!type) {
    // No screen has this code.
    notificationType_ = unknownLayoutCode;
    return drop("type");
  }
  notificationType_ = type->code;
  bool isWhole = true;  // Every component is built, and logs what is bad about it, even when one is missing.
  for (const std::string_view key : type->components) {
    if (!key.empty() && !buildComponent(key)) isWhole = false;
  }
  return isWhole || drop(*name);
}

bool LMRInAppMessage::readCloseButton() {
  const Dictionary* data = findMap(layout_, "close_button");
  if (!data) return drop("close_button");
  // A bad close button costs only itself.
  closeButton_ = LMRIAClose::initWithData(data, campaign_id_);
  if (closeButton_) closeButton_->setFrequency(display_frequency_);
  return true;
}

template <auto component>
bool LMRInAppMessage::build(LMRInAppMessage& message, const Dictionary* data) {
  auto& built = message.*component;
  built = std::remove_reference_t<decltype(*built)>::initWithData(data, message.campaign_id_);
  return built != nullptr;
}

/// Builds the component that a layout names; false when it lacks it.
bool LMRInAppMessage::buildComponent(std::string_view key) {
  struct Component {
    std::string_view key;
    bool (*build)(LMRInAppMessage& message, const Dictionary* data);
  };
  static constexpr Component components[] = {{"background", build<&LMRInAppMessage::background_>},
                                             {"image", build<&LMRInAppMessage::image_>},
                                             {"primary_text", build<&LMRInAppMessage::primaryText_>},
                                             {"secondary_text", build<&LMRInAppMessage::secondaryText_>},
                                             {"primary_button", build<&LMRInAppMessage::primaryButton_>},
                                             {"secondary_button", build<&LMRInAppMessage::secondaryButton_>}};
  const Dictionary* data = findMap(layout_, key);
  // A value that is no object is a bad value of its key; an absent one is only missed by the layout.
  if (!data && findValue(layout_, key)) drop(key);
  const auto* const component = std::ranges::find(components, key, &Component::key);
  return component != std::end(components) && component->build(*this, data);
}

bool LMRInAppMessage::getResource(const Dictionary& layout) const {
  for (const CampaignPicture& picture : picturesOf(layout)) {
    bool wasAborted = false;
    if (LMRIOManager::sharedInstance().getFileFromServer(picture.uri, campaign_id_, &wasAborted)) continue;
    // Not the campaign's fault: the picture is fetched for the refill that follows, or by the next run.
    if (wasAborted) return true;
    if (picture.isNeeded) return drop(picture.reason);
  }
  return true;
}

void LMRInAppMessage::updateStateIfNeeded() const {
  LMRDataManager& store = LMRDataManager::sharedInstance();
  if (status_ == stopped) {
    store.clearCampaigns({*campaign_id_});
  } else {
    store.updateResource(LMRResource::initWithCampaignId(campaign_id_, LMRResource::unchanged, status_));
  }
}

bool LMRInAppMessage::isValid() const {
  return date(platform().clock.now(), dateFromSeconds(end_time_.value_or(0) / 1000.0));
}

std::optional<double> LMRInAppMessage::getTimeStamp(const std::string& text) {
  return parseCampaignDate(text);
}

std::string LMRInAppMessage::getStartTime() const {
  if (start_time_) return wholeMilliseconds(*start_time_);
  // Without a start it has begun: at the moment at which it is stored.
  return decimalText(secondsSince1970(platform().clock.now()) * 1000.0);
}

std::string LMRInAppMessage::getEndTime() const {
  return wholeMilliseconds(end_time_.value_or(0));
}

std::optional<std::string> LMRInAppMessage::getJsonData() const {
  return campaignText(data_ ? &*data_ : nullptr);
}

CampaignRow LMRInAppMessage::row() const {
  return {.campaignId = campaign_id_.value_or(""),
          .event = display_trigger_.value_or(""),
          .campaign = data_.value_or(Dictionary()),
          .startTime = getStartTime(),
          .endTime = getEndTime(),
          .frequency = display_frequency_};
}

}  // namespace lumora
