#pragma once

#include <atomic>
#include <memory>
#include <optional>

#include "lumora/Facade/KeeperPlan.h"
#include "lumora/Platform/Clock.h"
#include "lumora/Platform/Mutex.h"
#include "lumora/Platform/NetworkChanges.h"
#include "lumora/Util/LumoraError.h"

namespace lumora {

class Lumora;

/// Does what a `LumoraKeeper` promises: it hears what succeeds and fails, looks on the library's queue at
/// what there is to do, does it when it is due, and sets its one timer otherwise.
class Keeping : public std::enable_shared_from_this<Keeping> {
 public:
  using Work = KeeperPlan::Work;

  /// Null, with a line, when there is one already, or when the clock has no timers.
  static std::shared_ptr<Keeping> begin(KeeperPlan::Intervals intervals);
  explicit Keeping(KeeperPlan::Intervals intervals);
  /// Any thread. May be called again.
  void end();

  // What happened. Any thread, whatever locks it holds.
  void eventWaits();
  /// Tracking is allowed again.
  void resumed();
  void succeeded(Work work);
  void failed(Work work, const LumoraError& error);

 private:
  void checkSoon();
  void check();
  KeeperPlan::Needs needs();
  void watchNetwork(bool isWanted);
  void networkReturned();
  void run(Work work);

  Lumora& lumora_;
  /// Null on a clock that has none; then nothing here is used.
  std::unique_ptr<Timer> timer_;
  std::atomic<bool> isEnded_ = false;
  std::atomic<bool> isCheckQueued_ = false;
  /// Whether a further event changes nothing: an upload is planned already, or cannot be.
  std::atomic<bool> ignoresEvents_ = false;
  Mutex mutex_;
  KeeperPlan plan_ LUMORA_GUARDED_BY(mutex_);
  std::unique_ptr<NetworkChanges::Watch> watch_ LUMORA_GUARDED_BY(mutex_);
};

}  // namespace lumora
