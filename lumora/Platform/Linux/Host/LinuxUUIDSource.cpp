// Random identifiers, in capital letters as the platform writes them. Who keeps them is for
// UIDeviceAdditionalInfo to say.
#include "lumora/Platform/Linux/Host/LinuxUUIDSource.h"

#include <uuid/uuid.h>

#include <array>

namespace lumora {

std::string LinuxUUIDSource::randomUUID() {
  uuid_t uuid;
  uuid_generate_random(uuid);
  std::array<char, UUID_STR_LEN> text{};
  uuid_unparse_upper(uuid, text.data());
  return text.data();
}

}  // namespace lumora
