// The end of the library's work in a process that goes on, and the wait for what is stored to be uploaded.
// What the end of the process itself does is the platform's (Linux/Tasks/ProcessEnd.cpp).
#include <algorithm>
#include <atomic>
#include <memory>
#include <new>

#include "lumora/Events/LMREventLogger.h"
#include "lumora/Facade/Lumora.h"
#include "lumora/Facade/Reports.h"
#include "lumora/Storage/LMRDataManager.h"
#include "lumora/Util/CallGate.h"
#include "lumora/Util/Log.h"
#include "lumora/Util/LostCall.h"

namespace lumora {
namespace {

/// The library's own threads cannot wait for themselves.
bool mayWait(const char* operation) {
  if (!CallGate::Work::isUnderWay()) return true;
  logLine("LumoraSDK-{} was called by a task of the library itself, which cannot wait.", operation);
  return false;
}

/// Clocks overflow with a limit that means "for ever".
std::chrono::milliseconds bounded(std::chrono::milliseconds limit) {
  return std::clamp<std::chrono::milliseconds>(limit, std::chrono::milliseconds(0), std::chrono::hours(24));
}

/// What is left of a limit. A clock that is set meanwhile neither prolongs the wait nor ends it below zero.
std::chrono::milliseconds leftOf(std::chrono::milliseconds limit, Date begun) {
  using std::chrono::milliseconds;
  const auto elapsed = std::chrono::duration_cast<milliseconds>(platform().clock.now() - begun);
  return limit - std::clamp(elapsed, milliseconds(0), limit);
}

}  // namespace

bool Lumora::flush(std::chrono::milliseconds timeout) try {
  if (!CallGate::admits() || !mayWait("flush")) return false;
  const auto isEmpty = std::make_shared<std::atomic<bool>>(false);
  const auto upload = [this, isEmpty] {
    const CallGate::Work work;
    if (!work) return;
    dataManager_.storeWaiting();
    eventLogger_.reportEvents(true);
    *isEmpty = dataManager_.holdsNoEvents();
  };
  return serialQueue_->syncWithin(upload, bounded(timeout)) && *isEmpty;
} catch (const std::bad_alloc&) {
  tellLostCall("flush");
  return false;
}

void Lumora::shutdown(std::chrono::milliseconds timeout) try {
  if (!CallGate::admitsDespite({Closed::afterErasure, Closed::withoutConsent}) || !mayWait("shutdown"))
    return;
  CallGate::close(Closed::afterShutdown);
  const auto limit = bounded(timeout);
  const Date begun = platform().clock.now();
  platform().urlLoader.setAborting(true);
  reports_.endKeeping();
  const bool isAtRest = serialInAppQueue_->finishWithin(limit);
  serialQueue_->async([this] {
    dataManager_.storeWaiting();
    dataManager_.closeFile();
    CallGate::settle(Closed::afterShutdown);
  });
  const bool isStored = serialQueue_->finishWithin(leftOf(limit, begun));
  platform().settings.synchronize();
  // Last, as all that goes before may be told of.
  const bool isTold = reports_.notices().endWithin(leftOf(limit, begun));
  if (isStored && isAtRest && isTold) return;
  logLine("LumoraSDK-The shutdown took longer than the {} ms that it was given, its rest goes on.",
          timeout.count());
} catch (const std::bad_alloc&) {
  tellLostCall("shutdown");
}

}  // namespace lumora
