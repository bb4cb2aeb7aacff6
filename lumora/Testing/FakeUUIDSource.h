#pragma once

#include <atomic>
#include <cstdint>
#include <string>

#include "lumora/Platform/UUIDSource.h"

namespace lumora::testing {

/// Gives UUIDs in the right form that count: 00000000-0000-4000-8000-000000000001, …002, and so on.
///
/// Thread safety: every operation may be called from any thread.
class LUMORA_EXPORT FakeUUIDSource : public UUIDSource {
 public:
  std::string randomUUID() override;

  /// The `number`th UUID that this source gives, from 1.
  static std::string uuid(std::uint32_t number);

 private:
  std::atomic<std::uint32_t> count_ = 0;
};

}  // namespace lumora::testing
