#pragma once

#include <string>

#include "lumora/Platform/Export.h"
#include "lumora/Platform/Value.h"

namespace lumora::testing {

/// A campaign that is complete and needs no picture: two texts, a button and a close button on a full
/// background, as layout 3 has them.
///
///     host.offerCampaign(SampleCampaign{.id = "offer", .trigger = "cart_opened"});
///
/// A test of a campaign of one's own gives its JSON object instead (`parseJSON`).
struct SampleCampaign {
  std::string id = "sample";
  /// The name of the event that shows it.
  std::string trigger = "sample_trigger";
  /// "everytime", "once", "once_per_session", "everytime_until_cta" or "once_per_session_until_cta".
  std::string frequency = "everytime";
  /// What a tap on the primary button opens; "close" opens nothing.
  std::string link = "close";

  /// The campaign as the service sends it. Implicit: a sample serves wherever a campaign does.
  LUMORA_EXPORT operator Dictionary() const;
};

}  // namespace lumora::testing
