#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <utility>

namespace lumora {

/// A change of a campaign's flags, or the name of a campaign to delete.
struct LMRResource {
  /// Leaves a flag as it is.
  static constexpr std::int32_t unchanged = 2;

  static LMRResource initWithCampaignId(std::optional<std::string> campaignId, std::int32_t enabled,
                                        std::int32_t paused) {
    return {enabled, paused, std::move(campaignId)};
  }

  /// 1: may be shown; 0: not before the next application session; -1: not before the campaign is saved again.
  std::int32_t enable = 0;
  /// 0: active; anything else keeps the campaign from being shown.
  std::int32_t paused = 0;
  /// Nothing stands for every campaign that is shown once per session.
  std::optional<std::string> campaignId;
};

}  // namespace lumora
