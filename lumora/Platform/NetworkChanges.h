#pragma once

#include <functional>
#include <memory>

#include "lumora/Platform/Export.h"

namespace lumora {

/// Tells when the device's network may have come back.
///
/// This class itself is that of a system which tells nothing. Thread safety: every operation may be called
/// from any thread.
class LUMORA_EXPORT NetworkChanges {
 public:
  /// Ends with its destructor, which waits for a callback that another thread is in.
  class LUMORA_EXPORT Watch {
   public:
    virtual ~Watch() = default;
  };

  virtual ~NetworkChanges() = default;
  /// Calls back, on a thread of its own, each time an address or a route was added, until the watch is
  /// destroyed. Null when nothing can be watched.
  virtual std::unique_ptr<Watch> watch(const std::function<void()>& /*callback*/) { return nullptr; }

  /// The one that tells nothing.
  static NetworkChanges& none();
};

/// Passes everything on; a base for a host that adds news of its own.
class LUMORA_EXPORT ForwardingNetworkChanges : public NetworkChanges {
 public:
  explicit ForwardingNetworkChanges(NetworkChanges& next) : next_(next) {}
  std::unique_ptr<Watch> watch(const std::function<void()>& callback) override {
    return next_.watch(callback);
  }

 private:
  NetworkChanges& next_;
};

}  // namespace lumora
