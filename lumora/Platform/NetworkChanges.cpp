// What a platform without news of its network shares.
#include "lumora/Platform/NetworkChanges.h"

namespace lumora {

NetworkChanges& NetworkChanges::none() {
  static auto* const none = new NetworkChanges;
  return *none;
}

}  // namespace lumora
