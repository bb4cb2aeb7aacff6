#pragma once

#include <chrono>
#include <memory>

#include "lumora/Platform/Export.h"

namespace lumora {

class Keeping;

/// Keeps the library in touch with the service while it lives, without a trigger of the host's.
///
/// By itself the library asks the service when it is initialised, when the application comes and goes, and
/// when the host says so. A host that starts offline, or runs for days in the foreground, makes a keeper:
///
///     lumora::Lumora::sharedInstance().initializeWithTarrowID("acme", "s3cret");
///     const lumora::LumoraKeeper keeper;  // for as long as the program runs
///
/// - An initialisation that the network or the service's answer has made fail is tried again: its request and
///   what follows that, nothing else. One that the host's own arguments have made fail is not.
/// - Events that wait are uploaded a while after the first of them; in secure mode once there is a signature.
/// - The configuration is asked for again at an interval.
///
/// After a failure the pauses grow from 15 s to half an hour; a refusal of the service waits half an hour at
/// once. When the network comes back, where the platform tells, the next attempt follows within seconds.
/// Every pause is spread at random, so that many devices do not come at the same moment. None is shorter than
/// `canReport` and `canUpdate` allow. Nothing wakes up while nothing waits; the intervals go by the time that
/// the machine is awake.
///
/// Threads: it may be made and destroyed on any thread, in the library's callbacks too, at the end of the
/// process, and in a forked child, where it does nothing. Once it is destroyed nothing begins any more; what
/// is under way ends by itself. The work is done on the library's own queue.
///
/// One at a time: a second one writes a line and does nothing, and so does one on a platform whose clock has
/// no timers.
class LUMORA_EXPORT LumoraKeeper {
 public:
  struct Options {
    /// How long the first event waits for an upload; 5 s at least.
    std::chrono::seconds uploadAfter{60};
    /// How long after the last request the configuration is asked for again; 10 s at least.
    std::chrono::seconds refreshEvery{std::chrono::hours(6)};
  };

  LumoraKeeper();
  explicit LumoraKeeper(const Options& options);
  ~LumoraKeeper();
  LumoraKeeper(const LumoraKeeper&) = delete;
  LumoraKeeper& operator=(const LumoraKeeper&) = delete;

 private:
  std::shared_ptr<Keeping> keeping_;
};

}  // namespace lumora
