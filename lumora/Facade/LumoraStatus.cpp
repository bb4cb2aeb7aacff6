// What a host learns of the library: the observer's registration, and the snapshot. What is told is Reports'
// to say.
#include "lumora/Facade/LumoraStatus.h"

#include <new>
#include <utility>

#include "lumora/Facade/Lumora.h"
#include "lumora/Facade/Reports.h"
#include "lumora/Platform/Platform.h"
#include "lumora/Storage/LMRDataManager.h"
#include "lumora/Util/CallGate.h"
#include "lumora/Util/LMRSettingsKeys.h"
#include "lumora/Util/LostCall.h"

namespace lumora {
namespace {

std::optional<Date> dateSetting(std::string_view key) {
  const Value value = platform().settings.object(key);
  return value.asDate() ? std::optional(*value.asDate()) : std::nullopt;
}

}  // namespace

void Lumora::setObserver(std::shared_ptr<LumoraObserver> observer, LumoraExecutor executor) try {
  if (!CallGate::admitsDespite({Closed::withoutConsent})) return;
  reports_.notices().setObserver(std::move(observer), std::move(executor));
} catch (const std::bad_alloc&) {
  tellLostCall("setObserver");
}

LumoraStatus Lumora::status() const try {
  if (!CallGate::admits()) return {};
  return {.isInitialized = sdkInitialized(),
          .isBlocked = accountBlocked(),
          .waitingEvents = dataManager_.waitingEvents(),
          .lastSync = dateSetting(kLmroLastUpdate),
          .lastUpload = dateSetting(kLmroLastReport),
          .lastError = reports_.lastFailure()};
} catch (const std::bad_alloc&) {
  tellLostCall("status");
  return {};
}

}  // namespace lumora
