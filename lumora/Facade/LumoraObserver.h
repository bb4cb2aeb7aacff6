#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <string>

#include "lumora/Platform/Export.h"
#include "lumora/Util/LumoraError.h"

namespace lumora {

/// Runs what it is given, soon, on a thread that the host has chosen. `Lumora::setObserver` takes one.
using LumoraExecutor = std::function<void(std::function<void()> task)>;

/// What goes on inside the library, for a host that wants to know. It derives from this and overrides what it
/// is interested in:
///
///     struct Watcher : lumora::LumoraObserver {
///       void initializationFailed(const lumora::LumoraError& error) override {
///         if (error.reason == lumora::LumoraError::Reason::network) showOfflineMark();
///       }
///     };
///     lumora::Lumora::sharedInstance().setObserver(std::make_shared<Watcher>());
///
/// Threads: every operation is called on the main queue, or where the executor runs it; one at a time, in the
/// order of what happened, with none of the library's locks held. It may call the library. While the host
/// does not run its main queue, 64 notices wait; a further one takes the place of the oldest.
///
/// Failures: what an operation throws is caught, and written to the log.
class LUMORA_EXPORT LumoraObserver {
 public:
  /// An answer of the service to a request for the configuration.
  struct Configuration {
    /// Whether the account is disabled for this application, as far as the answer says.
    bool isBlocked = false;
    /// How many campaigns came with it, the bad ones included.
    std::size_t campaigns = 0;
  };

  /// A campaign that cannot be shown: when it is received, or when it is read from the database again.
  struct DroppedCampaign {
    /// "nil" for one without an identifier.
    std::string id;
    /// What is missing or bad: the key, the layout, or the picture.
    std::string part;
  };

  struct Upload {
    std::size_t events = 0;
    /// From the request to the answer, by the wall clock.
    std::chrono::milliseconds duration{0};
  };

  virtual ~LumoraObserver() = default;

  virtual void initialized() {}
  /// An attempt to initialise came to nothing, the host's own or one of a `LumoraKeeper`.
  virtual void initializationFailed(const LumoraError& /*error*/) {}
  virtual void configurationReceived(const Configuration& /*configuration*/) {}
  virtual void campaignDropped(const DroppedCampaign& /*campaign*/) {}
  /// A campaign's screen was presented.
  virtual void messageShown(const std::string& /*campaignId*/) {}
  /// A tap has closed it. What the host takes off the display itself is not told.
  virtual void messageDismissed(const std::string& /*campaignId*/) {}
  /// The service has taken these events, and they wait no more.
  virtual void uploadFinished(const Upload& /*upload*/) {}
  /// They wait for the next upload.
  virtual void uploadFailed(const LumoraError& /*error*/) {}
  /// So many events are lost for good.
  virtual void eventsDropped(LumoraEventLoss /*why*/, std::size_t /*count*/) {}
};

}  // namespace lumora
