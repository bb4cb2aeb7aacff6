#pragma once

#include <functional>
#include <memory>

#include "lumora/Platform/NetworkChanges.h"

namespace lumora {

/// The kernel's news of addresses and routes. A watch has a thread, which sleeps until there are some.
class NetlinkChanges : public NetworkChanges {
 public:
  std::unique_ptr<Watch> watch(const std::function<void()>& callback) override;
};

}  // namespace lumora
