// Who hears what: each report goes to the host's observer as a notice (Notices) and, where it changes what is
// to be done, to the keeper (Keeping).
#include "lumora/Facade/Reports.h"

#include <utility>

#include "lumora/Facade/Keeping.h"
#include "lumora/Platform/Platform.h"

namespace lumora {

using Work = KeeperPlan::Work;

Reports& Reports::sharedInstance() {
  static auto* const instance = new Reports;
  return *instance;
}

bool Reports::setKeeping(const std::shared_ptr<Keeping>& keeping) {
  Lock lock(mutex_);
  if (keeping_) return false;
  keeping_ = keeping;
  isKept_ = true;
  return true;
}

void Reports::endKeeping(const Keeping& keeping) {
  std::shared_ptr<Keeping> ended;  // Let go of after the lock is released.
  Lock lock(mutex_);
  if (keeping_.get() != &keeping) return;
  isKept_ = false;
  keeping_.swap(ended);
}

void Reports::endKeeping() {
  if (const auto keeper = keeping()) keeper->end();
}

std::shared_ptr<Keeping> Reports::keeping() const {
  if (!isKept_.load(std::memory_order_relaxed)) return nullptr;
  Lock lock(mutex_);
  return keeping_;
}

void Reports::initialized() {
  initializationFailure_ = LumoraError::Reason::none;
  if (notices_.isObserved()) notices_.post([](LumoraObserver& observer) { observer.initialized(); });
  if (const auto keeper = keeping()) keeper->succeeded(Work::initialization);
}

void Reports::initializationFailed(const LumoraError& error) {
  // A call without arguments changes nothing about the attempt before it.
  if (error.reason != LumoraError::Reason::credentialsMissing) initializationFailure_ = error.reason;
  note(LumoraStatus::Operation::initialization, error);
  if (notices_.isObserved())
    notices_.post([error](LumoraObserver& observer) { observer.initializationFailed(error); });
  if (const auto keeper = keeping()) keeper->failed(Work::initialization, error);
}

void Reports::configurationReceived(bool isBlocked, std::size_t campaigns) {
  if (notices_.isObserved()) {
    notices_.post([configuration = LumoraObserver::Configuration{isBlocked, campaigns}](
                      LumoraObserver& observer) { observer.configurationReceived(configuration); });
  }
  if (const auto keeper = keeping()) keeper->succeeded(Work::refresh);
}

void Reports::configurationFailed(const LumoraError& error) {
  const auto keeper = keeping();
  if (error.reason == LumoraError::Reason::notModified) {  // Asked and answered.
    if (keeper) keeper->succeeded(Work::refresh);
    return;
  }
  note(LumoraStatus::Operation::configuration, error);
  if (keeper) keeper->failed(Work::refresh, error);
}

void Reports::trackingResumed() {
  if (const auto keeper = keeping()) keeper->resumed();
}

void Reports::eventWaits() {
  if (const auto keeper = keeping()) keeper->eventWaits();
}

void Reports::uploadFinished(std::size_t events, std::chrono::milliseconds duration) {
  if (notices_.isObserved()) {
    notices_.post([upload = LumoraObserver::Upload{events, duration}](LumoraObserver& observer) {
      observer.uploadFinished(upload);
    });
  }
  if (const auto keeper = keeping()) keeper->succeeded(Work::upload);
}

void Reports::uploadFailed(const LumoraError& error) {
  note(LumoraStatus::Operation::upload, error);
  if (notices_.isObserved())
    notices_.post([error](LumoraObserver& observer) { observer.uploadFailed(error); });
  if (const auto keeper = keeping()) keeper->failed(Work::upload, error);
}

void Reports::eventsLost(LumoraEventLoss why, std::size_t count) {
  if (!notices_.isObserved()) return;
  notices_.post([why, count](LumoraObserver& observer) { observer.eventsDropped(why, count); });
}

void Reports::campaignDropped(const std::string& campaignId, std::string_view part) {
  if (!notices_.isObserved()) return;
  notices_.post([campaign = LumoraObserver::DroppedCampaign{campaignId, std::string(part)}](
                    LumoraObserver& observer) { observer.campaignDropped(campaign); });
}

void Reports::messageShown(const std::string& campaignId) {
  if (!notices_.isObserved()) return;
  notices_.post([campaignId](LumoraObserver& observer) { observer.messageShown(campaignId); });
}

void Reports::messageDismissed(const std::string& campaignId) {
  if (!notices_.isObserved()) return;
  notices_.post([campaignId](LumoraObserver& observer) { observer.messageDismissed(campaignId); });
}

std::optional<LumoraStatus::Failure> Reports::lastFailure() const {
  Lock lock(mutex_);
  return lastFailure_;
}

void Reports::note(LumoraStatus::Operation operation, const LumoraError& error) {
  LumoraStatus::Failure failure{operation, error, platform().clock.now()};
  Lock lock(mutex_);
  lastFailure_ = std::move(failure);
}

}  // namespace lumora
