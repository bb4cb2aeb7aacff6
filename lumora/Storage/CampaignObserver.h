#pragma once

#include <string>

namespace lumora {

/// Watches the campaigns that are deleted. It is called on the thread that deletes, which holds the store's
/// lock, so that no list of campaigns read before can be published after it.
class CampaignObserver {
 public:
  virtual ~CampaignObserver() = default;
  /// A campaign was deleted with its files; its row is once the database is free.
  virtual void campaignDeleted(const std::string& campaignId) = 0;
};

}  // namespace lumora
