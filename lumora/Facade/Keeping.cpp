// The keeper at work. When something is due is KeeperPlan's to say, how it is done the facade's and the
// logger's.
#include "lumora/Facade/Keeping.h"

#include <utility>

#include "lumora/Events/LMREventLogger.h"
#include "lumora/Facade/Lumora.h"
#include "lumora/Facade/Reports.h"
#include "lumora/Storage/LMRDataManager.h"
#include "lumora/Util/CallGate.h"
#include "lumora/Util/LMRSettingsKeys.h"
#include "lumora/Util/LMRUtil.h"
#include "lumora/Util/Log.h"

namespace lumora {
namespace {

/// What another attempt may change; nothing for what only the host can mend.
std::optional<KeeperPlan::Failure> failureOf(LumoraError::Reason reason) {
  using Reason = LumoraError::Reason;
  switch (reason) {
    case Reason::network:
      return KeeperPlan::Failure::network;
    case Reason::malformedAnswer:
    case Reason::otherProcess:
      return KeeperPlan::Failure::answer;
    case Reason::refused:
    case Reason::notModified:
    case Reason::blocked:
      return KeeperPlan::Failure::refusal;
    default:
      return std::nullopt;
  }
}

}  // namespace

std::shared_ptr<Keeping> Keeping::begin(KeeperPlan::Intervals intervals) {
  // After a shutdown there may be no clock any more.
  if (!CallGate::admitsDespite({Closed::withoutConsent})) return nullptr;
  auto keeping = std::make_shared<Keeping>(intervals);
  keeping->timer_ = platform().clock.makeTimer([weak = keeping->weak_from_this()] {
    if (const auto self = weak.lock()) self->checkSoon();
  });
  if (!keeping->timer_) {
    logLine("LumoraSDK-The platform's clock has no timers, a keeper does nothing.");
    return nullptr;
  }
  if (!Reports::sharedInstance().setKeeping(keeping)) {
    logLine("LumoraSDK-There is a keeper already, a second one does nothing.");
    return nullptr;
  }
  // What failed before there was a keeper is due soon; nobody will tell of it again.
  keeping->checkSoon();
  return keeping;
}

Keeping::Keeping(KeeperPlan::Intervals intervals)
    : lumora_(Lumora::sharedInstance()), plan_(intervals, Random(platform().uuids.randomUUID())) {}

void Keeping::end() {
  isEnded_ = true;
  // In a forked child a lock may be held by a thread that is not there.
  if (!timer_->cancel()) return;
  Reports::sharedInstance().endKeeping(*this);
  std::unique_ptr<NetworkChanges::Watch>
      watch;  // Ends after the lock is released: it waits for its callback.
  Lock lock(mutex_);
  watch_.swap(watch);
}

void Keeping::eventWaits() {
  if (!ignoresEvents_.load(std::memory_order_relaxed)) checkSoon();
}

void Keeping::resumed() {
  checkSoon();
}

void Keeping::succeeded(Work work) {
  {
    Lock lock(mutex_);
    plan_.succeeded(work);
  }
  checkSoon();
}

void Keeping::failed(Work work, const LumoraError& error) {
  if (const auto failure = failureOf(error.reason)) {
    Lock lock(mutex_);
    plan_.failed(work, *failure, platform().clock.now());
  }
  checkSoon();
}

void Keeping::networkReturned() {
  {
    Lock lock(mutex_);
    plan_.networkReturned(platform().clock.now());
  }
  checkSoon();
}

/// On the library's queue, once for everything that happens until then.
void Keeping::checkSoon() {
  if (isEnded_ || isCheckQueued_.exchange(true)) return;
  lumora_.serialQueue().async([self = shared_from_this()] {
    const CallGate::Work work;
    self->isCheckQueued_ = false;
    self->check();
  });
}

void Keeping::check() {
  if (isEnded_) return;
  const KeeperPlan::Needs needed = needs();
  std::optional<KeeperPlan::Next> next;
  bool waitsForNetwork = false;
  {
    Lock lock(mutex_);
    const Date now = platform().clock.now();
    plan_.update(needed, now);
    next = plan_.next(now);
    if (next && next->delay == next->delay.zero()) plan_.begin(next->work, now);
    waitsForNetwork = plan_.waitsForNetwork();
  }
  watchNetwork(waitsForNetwork);
  if (!next) {
    timer_->cancel();
  } else if (next->delay > next->delay.zero()) {
    timer_->start(next->delay);
    if (isEnded_) timer_->cancel();  // Meanwhile, by another thread.
  } else {
    run(next->work);
    checkSoon();
  }
}

KeeperPlan::Needs Keeping::needs() {
  KeeperPlan::Needs needs;
  if (!CallGate::isOpen()) {
    ignoresEvents_ = true;  // Consent is heard of.
    return needs;
  }
  if (!lumora_.sdkInitialized()) {
    ignoresEvents_ = true;  // The initialisation is heard of.
    needs.initialization =
        !lumora_.makingInitCall() && failureOf(Reports::sharedInstance().initializationFailure()).has_value();
    return needs;
  }
  needs.refresh = true;
  const Value lastSync = platform().settings.object(kLmroLastUpdate);
  if (lastSync.asDate()) needs.lastSync = *lastSync.asDate();
  // A new signature is followed by an upload, and an end of the block by a configuration that is heard of.
  const bool mayUpload = !lumora_.accountBlocked() &&
                         (!lumora_.isSecureModeEnabled() || LMRUtil::getSecureSignature() != nullptr);
  ignoresEvents_ = !mayUpload;
  if (!mayUpload) return needs;
  // Not heeded until the next check looks: what is saved from now on is among those that it counts.
  needs.upload = lumora_.dataManager().waitingEvents().value_or(0) > 0;
  if (needs.upload) ignoresEvents_ = true;
  return needs;
}

void Keeping::watchNetwork(bool isWanted) {
  std::unique_ptr<NetworkChanges::Watch>
      watch;  // Begins and ends without the lock, which its callback takes.
  {
    Lock lock(mutex_);
    if (isWanted == (watch_ != nullptr)) return;
    watch_.swap(watch);
  }
  if (!isWanted) return;
  watch = platform().networkChanges.watch([weak = weak_from_this()] {
    if (const auto self = weak.lock()) self->networkReturned();
  });
  Lock lock(mutex_);
  if (!isEnded_) watch_.swap(watch);
}

void Keeping::run(Work work) {
  lumora_.dataManager().storeWaiting();  // What was recorded before does not wait for the request.
  switch (work) {
    case Work::initialization:
      return lumora_.retryInitialization();
    case Work::upload:
      return lumora_.eventLogger().reportEvents(false);
    case Work::refresh:
      return lumora_.resyncConfiguration();
  }
}

}  // namespace lumora
