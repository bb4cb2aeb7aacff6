#pragma once

#include <compare>
#include <string_view>

namespace lumora {

/// Compares version texts number by number: "9.3" < "10" < "10.0.1". A missing part is less than any part.
std::strong_ordering compareVersions(std::string_view left, std::string_view right);

}  // namespace lumora
