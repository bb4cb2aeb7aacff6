#pragma once

#include <string>

#include "lumora/Platform/Export.h"

namespace lumora {

/// Makes random identifiers.
///
/// Thread safety: may be called from any thread.
class LUMORA_EXPORT UUIDSource {
 public:
  virtual ~UUIDSource() = default;
  /// A new random (version 4) UUID: 36 characters, upper-case digits, groups of 8-4-4-4-12.
  virtual std::string randomUUID() = 0;
};

/// Passes everything to another source; a base for a host that wants to see the identifiers.
class LUMORA_EXPORT ForwardingUUIDSource : public UUIDSource {
 public:
  explicit ForwardingUUIDSource(UUIDSource& next) : next_(next) {}
  std::string randomUUID() override { return next_.randomUUID(); }

 private:
  UUIDSource& next_;
};

}  // namespace lumora
