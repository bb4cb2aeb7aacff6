#pragma once

#include <string>

namespace lumora::service {

/// A link with a fresh registration token that, opened in a host, makes its device a test device.
std::string deepLink(const std::string& account, const std::string& secret);

}  // namespace lumora::service
