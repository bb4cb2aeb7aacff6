#pragma once

#include <string_view>

#include "lumora/Util/Log.h"

namespace lumora {

/// Whether what happened last at the date of a settings key may happen again: syncs and uploads keep a
/// minimum of seconds between them, which the service's own time-out only ever shortens. When it may not, a
/// trace line tells how long ago it was.
bool hasMinimumPassed(std::string_view lastKey, double minimum, TracePoint origin, std::string_view what);

}  // namespace lumora
