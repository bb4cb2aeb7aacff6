// The end, the person's consent, and the keeper.
#include <chrono>

#include "lumora/C/Arguments.h"
#include "lumora/C/Facade.h"
#include "lumora/Facade/LumoraKeeper.h"

namespace lumora::c {

template <>
inline constexpr Kind kindOf<LumoraKeeper> = Kind::keeper;

namespace {

Consent consentOf(lumora_consent consent) {
  switch (consent) {
    case LUMORA_CONSENT_UNKNOWN:
      return Consent::unknown;
    case LUMORA_CONSENT_GRANTED:
      return Consent::granted;
    case LUMORA_CONSENT_DENIED:
      return Consent::denied;
    default:
      fail(LUMORA_BAD_ARGUMENT);
  }
}

lumora_consent consentForC(Consent consent) {
  switch (consent) {
    case Consent::granted:
      return LUMORA_CONSENT_GRANTED;
    case Consent::denied:
      return LUMORA_CONSENT_DENIED;
    case Consent::unknown:
      break;
  }
  return LUMORA_CONSENT_UNKNOWN;
}

/// A keeper with what is given, its own intervals otherwise.
LumoraKeeper::Options keeperOptions(const lumora_keeper_options* given) {
  const lumora_keeper_options read = sizedOrDefault(given);
  if (read.upload_after < 0 || read.refresh_every < 0) fail(LUMORA_BAD_ARGUMENT);
  // No interval is longer than a century, which every clock can count.
  constexpr std::int64_t longest = 100LL * 366 * 24 * 3600;
  LumoraKeeper::Options options;
  if (read.upload_after > 0) options.uploadAfter = std::chrono::seconds(std::min(read.upload_after, longest));
  if (read.refresh_every > 0)
    options.refreshEvery = std::chrono::seconds(std::min(read.refresh_every, longest));
  return options;
}

}  // namespace
}  // namespace lumora::c

using namespace lumora::c;
using lumora::LumoraKeeper;
using lumora::WaitingEvents;

lumora_result lumora_flush(int64_t timeout_ms, bool* is_empty) {
  return guarded([&] {
    if (is_empty != nullptr) *is_empty = false;
    const bool isEmpty = facade().flush(std::chrono::milliseconds(timeout_ms));
    if (is_empty != nullptr) *is_empty = isEmpty;
  });
}

lumora_result lumora_shutdown(int64_t timeout_ms) {
  return guarded([&] { facade().shutdown(std::chrono::milliseconds(timeout_ms)); });
}

lumora_result lumora_set_tracking_consent(lumora_consent consent, bool erase_waiting) {
  return guarded([&] {
    facade().setTrackingConsent(consentOf(consent),
                                erase_waiting ? WaitingEvents::areErased : WaitingEvents::areKept);
  });
}

lumora_consent lumora_tracking_consent(void) {
  return guardedValue(lumora_consent{LUMORA_CONSENT_UNKNOWN},
                      [] { return consentForC(facade().trackingConsent()); });
}

lumora_result lumora_erase_all_data(void) {
  return guarded([] { facade().eraseAllData(); });
}

lumora_result lumora_keeper_new(const lumora_keeper_options* options, lumora_keeper* keeper) {
  return guarded([&] {
    if (keeper == nullptr) fail(LUMORA_BAD_ARGUMENT);
    *keeper = LUMORA_NONE;
    *keeper = Handles::sharedInstance().add(std::make_shared<LumoraKeeper>(keeperOptions(options)));
  });
}
