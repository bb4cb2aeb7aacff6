// The platform of hosts that install none, made by the first use with default options. A core without Linux
// has NoDefaultPlatform.cpp instead.
#include "lumora/Platform/DefaultPlatform.h"

#include "lumora/Platform/Linux/LinuxPlatform.h"

namespace lumora {

LinuxPlatform& LinuxPlatform::defaultInstance() {
  // Never destroyed: queues may still run while the process ends.
  static auto* const instance = new LinuxPlatform;
  return *instance;
}

const Platform& defaultPlatform() {
  return LinuxPlatform::defaultInstance().platform();
}

}  // namespace lumora
