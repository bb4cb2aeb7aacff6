#pragma once

#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "lumora/Platform/Mutex.h"
#include "lumora/Platform/Value.h"
#include "lumora/Storage/CampaignRow.h"

namespace lumora {

class LMRInAppMessage;

/// Fetches the pictures of stored campaigns, apart from the refills of the handler's map, which only look at
/// what is in the cache. It remembers which pictures the last round could not fetch, so that the refill after
/// it does without them instead of asking for another round. Any thread.
class CampaignPictures {
 public:
  /// What a campaign lacks of its pictures.
  struct Lack {
    enum Kind { nothing, dispensable, needed, untried } kind = nothing;
    /// How the line that drops the campaign names a needed picture.
    std::string_view reason;
  };

  /// Downloads what the cache lacks, of each campaign up to the first picture that it cannot do without and
  /// that cannot be fetched. False when the round was cut short, as transfers are refused: what it did not
  /// come to counts as untried. Blocks; no lock may be held.
  bool fetch(const std::vector<CampaignRow>& campaigns);
  /// Downloads nothing. A picture that is not in the cache counts as untried unless the last round failed to
  /// fetch it; one that cannot be fetched at all is lacked only where it is needed.
  Lack lackOf(const LMRInAppMessage& message) const;

 private:
  mutable Mutex mutex_;
  /// The paths of the pictures that the last round could not fetch.
  std::set<std::string> failed_ LUMORA_GUARDED_BY(mutex_);
};

}  // namespace lumora
