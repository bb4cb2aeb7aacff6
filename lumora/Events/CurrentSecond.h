#pragma once

#include <algorithm>
#include <cstdint>
#include <limits>

#include "lumora/Platform/Platform.h"

namespace lumora {

/// Whole seconds since 1970-01-01 UTC, the fraction cut off, in the 32 bits that the service's records have.
inline std::int32_t currentSecond() {
  const double seconds = secondsSince1970(platform().clock.now());
  using Limits = std::numeric_limits<std::int32_t>;
  return static_cast<std::int32_t>(
      std::clamp(seconds, static_cast<double>(Limits::min()), static_cast<double>(Limits::max())));
}

}  // namespace lumora
