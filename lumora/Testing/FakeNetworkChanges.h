#pragma once

#include <cstddef>
#include <functional>
#include <memory>

#include "lumora/Platform/NetworkChanges.h"

namespace lumora::testing {

/// A network that comes back when the test says so.
///
/// Thread safety: every operation may be called from any thread.
class LUMORA_EXPORT FakeNetworkChanges : public NetworkChanges {
 public:
  FakeNetworkChanges();
  ~FakeNetworkChanges() override;
  std::unique_ptr<Watch> watch(const std::function<void()>& callback) override;

  /// Calls every watch back, on the calling thread.
  void post();
  std::size_t watchCount() const;

 private:
  class FakeWatch;
  struct State;

  const std::shared_ptr<State> state_;
};

}  // namespace lumora::testing
