#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "lumora/Platform/Value.h"

namespace lumora {

/// A stored campaign.
struct CampaignRow {
  std::string campaignId;
  /// The event that shows it.
  std::string event;
  /// The object as the service sent it.
  Dictionary campaign;
  /// Milliseconds since 1970-01-01 UTC.
  std::string startTime;
  std::string endTime;
  std::int32_t frequency = 0;
};

/// A campaign object as text for the inside of an SQL literal; nothing, with a line, when there is none or it
/// cannot be written.
std::optional<std::string> campaignText(const Dictionary* campaign);

}  // namespace lumora
