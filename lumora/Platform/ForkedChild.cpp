// The mark of a forked child. Who sets it is the platform's to arrange (Linux/Tasks/ForkWatch.cpp), what it
// means to calls is CallGate's.
#include "lumora/Platform/ForkedChild.h"

#include <atomic>

namespace lumora {
namespace {

constinit std::atomic<bool> isChild = false;
constinit std::atomic<void (*)(std::string_view)> writer = nullptr;

}  // namespace

bool isForkedChild() noexcept {
  return isChild.load(std::memory_order_relaxed);
}

void becomeForkedChild(void (*write)(std::string_view line)) noexcept {
  writer = write;
  isChild = true;
}

void writeInForkedChild(std::string_view line) noexcept {
  if (const auto write = writer.load()) write(line);
}

}  // namespace lumora
