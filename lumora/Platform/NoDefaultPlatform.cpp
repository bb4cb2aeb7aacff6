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
