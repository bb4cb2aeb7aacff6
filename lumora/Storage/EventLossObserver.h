#pragma once

#include <cstddef>

#include "lumora/Util/LumoraError.h"

namespace lumora {

/// Watches the events that the store gives up. It is called on the thread that stores, which may hold the
/// store's lock, so it only takes note.
class EventLossObserver {
 public:
  virtual ~EventLossObserver() = default;
  virtual void eventsLost(LumoraEventLoss why, std::size_t count) = 0;
};

}  // namespace lumora
