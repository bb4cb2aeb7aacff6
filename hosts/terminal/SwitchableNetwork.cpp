// Fails requests as a device without a network would, with the platform's own codes and texts; otherwise
// passes them on.
#include "hosts/terminal/SwitchableNetwork.h"

#include <string>

namespace lumora_host {
namespace {

lumora::URLResponse failure(int code, std::string description) {
  lumora::URLResponse response;
  response.error = {std::string(lumora::kURLErrorDomain), code, std::move(description)};
  return response;
}

}  // namespace

lumora::URLResponse SwitchableNetwork::load(const lumora::URLRequest& request) {
  switch (state_.load()) {
    case NetworkState::offline:
      return failure(lumora::kURLErrorNotConnectedToInternet,
                     "The Internet connection appears to be offline.");
    case NetworkState::unknownHost:
      return failure(lumora::kURLErrorCannotFindHost,
                     "A server with the specified hostname could not be found.");
    case NetworkState::online:
      break;
  }
  return ForwardingURLLoader::load(request);
}

}  // namespace lumora_host
