#pragma once

#include <cstddef>
#include <optional>

#include "lumora/Platform/Value.h"
#include "lumora/Util/LumoraError.h"

namespace lumora {

/// How the library stands at one moment: for a diagnostics screen. `Lumora::status` makes it.
struct LumoraStatus {
  enum class Operation { initialization, configuration, upload };

  struct Failure {
    Operation operation = Operation::initialization;
    LumoraError error;
    Date date;
  };

  /// Whether an initialisation has completed in this run.
  bool isInitialized = false;
  /// Whether the service has disabled the account for this application.
  bool isBlocked = false;
  /// The stored events that no upload has delivered yet. Nothing when the database cannot be read now. The
  /// one part that is read from the disk.
  std::optional<std::size_t> waitingEvents;
  /// When the configuration was last asked for, and an upload last begun, in an earlier run too; whether or
  /// not that succeeded. Nothing when it never was. An initialisation that asks first counts only once it has
  /// completed; how it failed is in `lastError`.
  std::optional<Date> lastSync;
  std::optional<Date> lastUpload;
  /// The last thing that failed in this run, also when it has succeeded since.
  std::optional<Failure> lastError;
};

}  // namespace lumora
