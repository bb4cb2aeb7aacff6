#pragma once

#include <string>
#include <vector>

#include "lumora/Platform/Value.h"

namespace lumora {
class LMRInAppMessage;
}

namespace lumora_bench {

/// A campaign of the fullest layout with one image, active until 2099, as the service sends it.
lumora::Dictionary campaign(const std::string& id, const std::string& trigger);

/// Campaigns "c0", "c1", … that wait for as many triggers, "t0", "t1", …, by turns.
lumora::List campaigns(int count, int triggers);

/// Puts their images into the cache, so that nothing is fetched.
void cacheImages(const std::string& cachesFolder, int count);

/// The statements that the library runs for a campaign: when it is read, and when it is stored.
std::string statusUpdate(const std::string& id);
std::string campaignInsertion(const lumora::LMRInAppMessage& message);

/// Empties the table, which is made where it is missing: the library opens its database with the first use.
void removeCampaigns(const std::string& databaseFile);
/// The campaigns as rows of the table, stored by plain SQLite. Their images must be in the cache.
void storeCampaigns(const std::string& databaseFile, const lumora::List& campaigns);

}  // namespace lumora_bench
