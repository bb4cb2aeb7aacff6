// Linked by who takes the core without a platform, in place of Platform/Linux/DefaultPlatform.cpp. Ending the
// program is the one place where the library may: nothing could be logged, stored or sent.
#include <cstdio>
#include <cstdlib>

#include "lumora/Platform/DefaultPlatform.h"

namespace lumora {

const Platform& defaultPlatform() {
  std::fputs("Lumora: lumora_core brings no platform; call lumora::installPlatform before anything else.\n",
             stderr);
  std::abort();
}

}  // namespace lumora
