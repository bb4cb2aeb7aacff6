#pragma once

#include <optional>
#include <string>

#include "lumora/Platform/Mutex.h"

namespace lumora {

/// The application secret of this run: nothing until an initialisation has completed. The facade sets it;
/// what talks to the service reads it. Any thread; nothing else is locked meanwhile.
class RunSecret {
 public:
  static RunSecret& sharedInstance();

  std::optional<std::string> get() const;
  void set(const std::string& secret);

 private:
  RunSecret() = default;

  mutable Mutex mutex_;
  std::optional<std::string> secret_ LUMORA_GUARDED_BY(mutex_);
};

}  // namespace lumora
