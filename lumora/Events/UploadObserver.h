#pragma once

#include <chrono>
#include <cstddef>

#include "lumora/Util/LumoraError.h"

namespace lumora {

/// Watches what waits for an upload, and what becomes of each. It is called on the thread that records or
/// uploads, which holds the logger's or the upload's lock, so it only takes note.
class UploadObserver {
 public:
  virtual ~UploadObserver() = default;
  /// An event was handed to the store.
  virtual void eventWaits() = 0;
  /// The service took that many events, and their rows are deleted.
  virtual void uploadFinished(std::size_t events, std::chrono::milliseconds duration) = 0;
  virtual void uploadFailed(const LumoraError& error) = 0;
};

}  // namespace lumora
