#pragma once

#include <optional>
#include <string_view>

namespace lumora {

/// Milliseconds since 1970-01-01 UTC of a date text "yyyy-MM-dd'T'HH:mm:ss" followed by a zone: Z, ±hhmm,
/// ±hh:mm, or GMT with an optional ±hh:mm. Nothing when the text is anything else.
std::optional<double> parseCampaignDate(std::string_view text);

}  // namespace lumora
