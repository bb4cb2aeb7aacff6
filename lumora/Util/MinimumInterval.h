#pragma once

#include <optional>

#include "lumora/Platform/Value.h"

namespace lumora {

/// How long something happened ago, and whether that is long enough for it to happen again.
struct MinimumInterval {
  double elapsed = 0;
  bool hasPassed = true;
};

/// Syncs and uploads keep a minimum of seconds between them; the service's own time-out only ever shortens
/// it. What never happened (no date stored) may happen at once. So may what seems to have happened more than
/// a day from now: the clock stood wrong then, and nobody waits until it is right.
inline MinimumInterval minimumIntervalSince(const Value& last, const Value& syncTimeout, double minimum,
                                            Date now) {
  if (!last.asDate()) return {};
  constexpr double secondsPerDay = 86400;
  const double elapsed = secondsSince1970(now) - secondsSince1970(*last.asDate());
  if (elapsed < -secondsPerDay) return {};
  const bool isBeyondTimeout =
      !syncTimeout.isNull() && elapsed > static_cast<double>(syncTimeout.integerValue());
  return {elapsed, isBeyondTimeout || elapsed >= minimum};
}

}  // namespace lumora
