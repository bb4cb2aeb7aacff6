// Fetches pictures ahead of the refills, and remembers which could not be fetched. The files are
// LMRIOManager's; when a round begins and what a lack leads to is in LMRInAppHandlerMap.cpp.
#include "lumora/InApp/CampaignPictures.h"

#include <utility>

#include "lumora/InApp/CampaignLayout.h"
#include "lumora/InApp/LMRInAppMessage.h"
#include "lumora/Storage/LMRIOManager.h"

namespace lumora {
namespace {

/// Notes the paths of the pictures that could not be fetched; false as soon as one is aborted.
bool fetchUnlessAborted(const std::vector<CampaignRow>& campaigns, std::set<std::string>& failed) {
  const LMRIOManager& cache = LMRIOManager::sharedInstance();
  for (const CampaignRow& row : campaigns) {
    const Dictionary* layout = findMap(row.campaign, "layout");
    if (!layout) continue;
    for (const CampaignPicture& picture : picturesOf(*layout)) {
      bool wasAborted = false;
      cache.getFileFromServer(picture.uri, row.campaignId, &wasAborted);
      if (wasAborted) return false;
      // A picture that came but could not be written has failed as well.
      if (cache.isFileExists(picture.uri, row.campaignId)) continue;
      if (auto path = cache.pathForFile(picture.uri, row.campaignId)) failed.insert(std::move(*path));
      // The campaign cannot be shown: its other pictures would be fetched in vain.
      if (picture.isNeeded) break;
    }
  }
  return true;
}

}  // namespace

bool CampaignPictures::fetch(const std::vector<CampaignRow>& campaigns) {
  std::set<std::string> failed;
  const bool isWhole = fetchUnlessAborted(campaigns, failed);
  Lock lock(mutex_);
  // This round's alone: what failed earlier, and was not asked for now, counts as untried.
  failed_.swap(failed);
  return isWhole;
}

CampaignPictures::Lack CampaignPictures::lackOf(const LMRInAppMessage& message) const {
  const LMRIOManager& cache = LMRIOManager::sharedInstance();
  Lack lack;
  for (const CampaignPicture& picture : picturesOf(message.getLayout())) {
    if (cache.isFileExists(picture.uri, message.getCampaignId())) continue;
    const auto path = cache.pathForFile(picture.uri, message.getCampaignId());
    Lock lock(mutex_);
    if (path && !failed_.contains(*path)) return {Lack::untried, picture.reason};
    if (picture.isNeeded) return {Lack::needed, picture.reason};
    if (path) lack = {Lack::dispensable, picture.reason};
  }
  return lack;
}

}  // namespace lumora
