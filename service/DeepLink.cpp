// The link that enrols a test device. What the service does with the token is in Endpoints.cpp.
#include "service/DeepLink.h"

#include <random>

#include "lumora/Platform/URL.h"

namespace lumora::service {

std::string deepLink(const std::string& account, const std::string& secret) {
  return "lmro" + account + "://add_test_device?secret=" + percentEscaped(secret) +
         "&token=" + std::to_string(std::random_device{}());
}

}  // namespace lumora::service
