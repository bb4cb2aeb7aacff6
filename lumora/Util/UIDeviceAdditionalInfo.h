#pragma once

#include <optional>
#include <string>

#include "lumora/Platform/Mutex.h"

namespace lumora {

/// Hands out the two identifiers of this installation, random UUIDs both.
///
/// Each is computed once per process, under a guard, and never changes while it runs. Processes that share
/// the settings store get the same ones, at their first run too. Any thread.
class UIDeviceAdditionalInfo {
 public:
  static UIDeviceAdditionalInfo& sharedInstance();

  /// Kept in the settings store: a reinstallation makes a new one.
  std::string installIdentifier();
  /// Kept in the keychain too: it survives a reinstallation.
  std::string uniqueGlobalDeviceIdentifier();

 private:
  UIDeviceAdditionalInfo() = default;

  Mutex mutex_;
  std::optional<std::string> installIdentifier_ LUMORA_GUARDED_BY(mutex_);
  std::optional<std::string> uniqueGlobalDeviceIdentifier_ LUMORA_GUARDED_BY(mutex_);
};

}  // namespace lumora
