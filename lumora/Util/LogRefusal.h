#pragma once

#include <exception>

#include "lumora/Util/Log.h"

namespace lumora {

/// Runs a write to the settings store. A store may refuse a value, and an object its archiving, by an
/// exception; it is logged, and nothing is stored then.
template <typename Write>
void logRefusalOf(const Write& write) {
  try {
    write();
  } catch (const std::exception& refusal) {
    logLine("LumoraSDK-{}", refusal.what());
  }
}

}  // namespace lumora
