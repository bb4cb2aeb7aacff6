#pragma once

#include <atomic>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "lumora/Events/UploadObserver.h"
#include "lumora/Facade/LumoraStatus.h"
#include "lumora/Facade/Notices.h"
#include "lumora/InApp/MessageObserver.h"
#include "lumora/Platform/Mutex.h"
#include "lumora/Storage/EventLossObserver.h"

namespace lumora {

class Keeping;

/// Hears what goes on: from the facade and, by the observers that they declare, from the floors below it. It
/// tells the host's observer and the keeper, and remembers the last failure. Any thread; whoever reports may
/// hold locks, so nothing here waits.
class Reports : public UploadObserver, public EventLossObserver, public MessageObserver {
 public:
  static Reports& sharedInstance();

  Notices& notices() noexcept { return notices_; }
  /// False when there is a keeper already.
  bool setKeeping(const std::shared_ptr<Keeping>& keeping);
  void endKeeping(const Keeping& keeping);
  /// Ends whichever there is.
  void endKeeping();

  // From the facade.
  void initialized();
  void initializationFailed(const LumoraError& error);
  void configurationReceived(bool isBlocked, std::size_t campaigns);
  void configurationFailed(const LumoraError& error);
  void trackingResumed();

  // From the floors below.
  void eventWaits() override;
  void uploadFinished(std::size_t events, std::chrono::milliseconds duration) override;
  void uploadFailed(const LumoraError& error) override;
  void eventsLost(LumoraEventLoss why, std::size_t count) override;
  void campaignDropped(const std::string& campaignId, std::string_view part) override;
  void messageShown(const std::string& campaignId) override;
  void messageDismissed(const std::string& campaignId) override;

  std::optional<LumoraStatus::Failure> lastFailure() const;
  /// Why the last attempt with an account and a secret failed; nothing once one has completed.
  LumoraError::Reason initializationFailure() const noexcept { return initializationFailure_; }

 private:
  Reports() = default;
  ~Reports() override = default;

  std::shared_ptr<Keeping> keeping() const;
  void note(LumoraStatus::Operation operation, const LumoraError& error);

  Notices notices_;
  std::atomic<LumoraError::Reason> initializationFailure_ = LumoraError::Reason::none;
  std::atomic<bool> isKept_ = false;
  mutable Mutex mutex_;
  std::shared_ptr<Keeping> keeping_ LUMORA_GUARDED_BY(mutex_);
  std::optional<LumoraStatus::Failure> lastFailure_ LUMORA_GUARDED_BY(mutex_);
};

}  // namespace lumora
