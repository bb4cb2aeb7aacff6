#pragma once

#include <string_view>

namespace lumora {

/// Tells that a call of the host's came to nothing because memory ran out: that is no reason for an exception
/// in the host. The line is left out where there is no memory for it either.
void tellLostCall(std::string_view call) noexcept;

}  // namespace lumora
