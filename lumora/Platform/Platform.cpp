// The one installed platform. The services are elsewhere (Platform/Linux, Testing); the default is made only
// when the library is used before a host has installed one.
#include "lumora/Platform/Platform.h"

#include <optional>

#include "lumora/Platform/DefaultPlatform.h"
#include "lumora/Platform/Mutex.h"

namespace lumora {
namespace {

/// The one installed platform. Never destroyed: queues may still run while the process ends.
class Installation {
 public:
  bool install(const Platform& platform) {
    Lock lock(mutex_);
    if (installed_) return false;
    installed_.emplace(platform);
    return true;
  }

  const Platform& get() {
    Lock lock(mutex_);
    if (!installed_) installed_.emplace(defaultPlatform());
    return *installed_;
  }

 private:
  Mutex mutex_;
  std::optional<Platform> installed_ LUMORA_GUARDED_BY(mutex_);
};

Installation& installation() {
  static auto* const instance = new Installation;
  return *instance;
}

}  // namespace

void installPlatform(const Platform& platform) {
  if (!tryInstallPlatform(platform))
    lumora::platform().log.write(
        "LumoraSDK-The library was used before its platform was installed, or has one already: this one is "
        "ignored.");
}

bool tryInstallPlatform(const Platform& platform) {
  return installation().install(platform);
}

const Platform& platform() {
  // Asked for once: from then on nothing is locked.
  static const Platform& current = installation().get();
  return current;
}

}  // namespace lumora
