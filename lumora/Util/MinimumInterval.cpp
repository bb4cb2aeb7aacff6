// The pause between two syncs or two uploads. It is measured between dates of the wall clock in the settings,
// so that it outlives a restart; the keys and the minima are the callers'.
#include "lumora/Util/MinimumInterval.h"

#include "lumora/Util/LMRSettingsKeys.h"

namespace lumora {

bool hasMinimumPassed(std::string_view lastKey, double minimum, TracePoint origin, std::string_view what) {
  const Platform& current = platform();
  const Value last = current.settings.object(lastKey);
  if (!last.asDate()) return true;  // It never happened.
  const double elapsed = secondsSince1970(current.clock.now()) - secondsSince1970(*last.asDate());
  constexpr double secondsPerDay = 86400;
  // The clock stood wrong then, and nobody waits until it is right.
  if (elapsed < -secondsPerDay) return true;
  const Value timeout = current.settings.object(kLmroSyncTimepout);
  // Beside the minimum, not instead of it: the shorter of the two decides.
  if (!timeout.isNull() && elapsed > static_cast<double>(timeout.integerValue())) return true;
  if (elapsed >= minimum) return true;
  logTrace(origin, "lapsed from last {}{:f}", what, elapsed);
  return false;
}

}  // namespace lumora
