// Identifiers that count from 1, so that a test knows the next one.
#include "lumora/Testing/FakeUUIDSource.h"

namespace lumora::testing {

std::string FakeUUIDSource::randomUUID() {
  return uuid(++count_);
}

std::string FakeUUIDSource::uuid(std::uint32_t number) {
  const std::string digits = std::to_string(number);
  return "00000000-0000-4000-8000-" + std::string(12 - digits.size(), '0') + digits;
}

}  // namespace lumora::testing
