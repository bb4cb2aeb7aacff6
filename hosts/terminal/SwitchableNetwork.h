#pragma once

#include <atomic>

#include "lumora/Platform/URLLoader.h"

namespace lumora_host {

enum class NetworkState { online, offline, unknownHost };

/// A network that can be taken away: requests then fail at once, as the device would let them fail.
class SwitchableNetwork : public lumora::ForwardingURLLoader {
 public:
  using ForwardingURLLoader::ForwardingURLLoader;

  lumora::URLResponse load(const lumora::URLRequest& request) override;
  /// Holds for requests that begin from now on. Any thread.
  void setState(NetworkState state) { state_ = state; }

 private:
  std::atomic<NetworkState> state_ = NetworkState::online;
};

}  // namespace lumora_host
