#pragma once

#include "lumora/Platform/UUIDSource.h"

namespace lumora {

/// Random identifiers from the system's random source.
class LinuxUUIDSource : public UUIDSource {
 public:
  std::string randomUUID() override;
};

}  // namespace lumora
