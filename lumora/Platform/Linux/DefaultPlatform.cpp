#include "lumora/Platform/DefaultPlatform.h"

#include "lumora/Platform/Linux/LinuxPlatform.h"

namespace lumora {

const Platform& defaultPlatform() {
  // Never destroyed: queues may still run while the process ends.
  static const auto* const instance = new LinuxPlatform;
  return instance->platform();
}

}  // namespace lumora
