// The map from events to campaigns: built from the store's rows, published whole, built again when pictures
// have come. What is shown by it is decided in LMRInAppHandler.cpp, what a campaign lacks is
// CampaignPictures' to say.
#include <utility>

#include "lumora/InApp/CampaignPictures.h"
#include "lumora/InApp/LMRInAppHandler.h"
#include "lumora/Storage/LMRDataManager.h"
#include "lumora/Util/CallGate.h"

namespace lumora {

void LMRInAppHandler::refill(Lacking lacking) {
  // The store's lock is held from reading the rows to publishing the map: what it deletes meanwhile must not
  // come back with a map that was built before.
  LMRDataManager::sharedInstance().getAllValidMessages(
      [this, lacking](const std::vector<CampaignRow>& campaigns) {
        auto events = std::make_shared<EventMap>();
        for (const CampaignRow& row : campaigns) {
          if (auto message = messageOf(row, lacking)) events->insert_or_assign(row.event, std::move(message));
        }
        setLmrInappEvents(std::move(events));
      });
}

void LMRInAppHandler::campaignDeleted(const std::string& campaignId) {
  const auto events = lmrInappEvents();
  if (!events) return;
  for (const auto& [event, message] : *events) {
    if (message->getCampaignId() != campaignId) continue;
    auto remaining = std::make_shared<EventMap>(*events);
    remaining->erase(event);
    setLmrInappEvents(std::move(remaining));
    return;
  }
}

/// Null when the campaign is bad, or lacks a picture.
std::shared_ptr<LMRInAppMessage> LMRInAppHandler::messageOf(const CampaignRow& row, Lacking lacking) {
  using Lack = CampaignPictures::Lack;
  auto message = LMRInAppMessage::initWithoutPictures(row.campaign);
  if (!message) return nullptr;
  const Lack lack = pictures_->lackOf(*message);
  if (lack.kind == Lack::nothing) return message;
  const bool isFetched = lacking == Lacking::isFetched || lack.kind == Lack::untried;
  if (isFetched && lacking != Lacking::isMissed) fetchSoon();
  // A campaign that did without the picture before goes on so while it is asked for again.
  if (lack.kind == Lack::dispensable) return message;
  if (!isFetched && lacking == Lacking::isGivenUp) message->drop(lack.reason);
  return nullptr;
}

void LMRInAppHandler::fetchAndRefill() {
  const bool isWhole =
      pictures_->fetch(LMRDataManager::sharedInstance().getCampaigns(LMRDataManager::Enabled::now));
  refill(isWhole ? Lacking::isGivenUp : Lacking::isMissed);
}

void LMRInAppHandler::fetchForSession() {
  pictures_->fetch(LMRDataManager::sharedInstance().getCampaigns(LMRDataManager::Enabled::inNextSession));
}

void LMRInAppHandler::fetchSoon() {
  TaskQueue* queue = queue_;
  // One round waits at most: it fetches whatever is missing when it begins.
  if (!queue || isFetchQueued_.exchange(true)) return;
  queue->async([this] {
    isFetchQueued_ = false;  // What is missed from now on has another round.
    const CallGate::Work work;
    if (work) fetchAndRefill();
  });
}

}  // namespace lumora
