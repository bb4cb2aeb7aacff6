#pragma once

#include <string_view>

#include "lumora/Platform/Value.h"

namespace lumora {

/// Watches what the event pipeline records. It is called on the thread that records, which holds the logger's
/// lock, so it waits for no network.
class EventObserver {
 public:
  virtual ~EventObserver() = default;
  /// An event is about to be stored.
  virtual void currentEvent(const Dictionary& event) = 0;
  /// A session was started.
  virtual void currentSession(std::string_view name) = 0;
};

}  // namespace lumora
