// The secret of this run, apart from the stored one: nothing is sent with a secret that this run's
// initialisation has not accepted. Lumora.cpp sets it.
#include "lumora/Util/RunSecret.h"

namespace lumora {

RunSecret& RunSecret::sharedInstance() {
  static auto* const instance = new RunSecret;
  return *instance;
}

std::optional<std::string> RunSecret::get() const {
  Lock lock(mutex_);
  return secret_;
}

void RunSecret::set(const std::string& secret) {
  Lock lock(mutex_);
  secret_ = secret;
}

}  // namespace lumora
