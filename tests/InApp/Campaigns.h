#pragma once

#include <nlohmann/json.hpp>
#include <sstream>

#include "lumora/InApp/LMRInAppMessage.h"
#include "lumora/Platform/JSON.h"
#include "lumora/Storage/LMRDataManager.h"
#include "lumora/Storage/OstrelSQLiteManager.h"
#include "lumora/Testing/FakeSystemLog.h"
#include "tests/Support/TestFiles.h"

namespace lumora::tests {

/// The campaign of campaign.json with a picture wherever there can be one, and with changes like
/// `status="stop";layout/image={"uri":"u"};version`: a path alone removes its entry. `prefix` stands before
/// every path.
inline Dictionary campaignWithPictures(const std::string& changes, const std::string& prefix = "") {
  const std::string file = LUMORA_SOURCE_FOLDER "/../tests/InApp/campaign.json";
  auto campaign = nlohmann::json::parse(lumora::testing::readFile(file));
  std::istringstream stream(changes);
  for (std::string change; std::getline(stream, change, ';');) {
    const auto equals = change.find('=');
    const nlohmann::json::json_pointer path("/" + prefix + change.substr(0, equals));
    if (equals != std::string::npos) {
      campaign[path] = nlohmann::json::parse(change.substr(equals + 1));
    } else if (campaign.contains(path)) {
      campaign.at(path.parent_pointer()).erase(path.back());
    }
  }
  return *parseJSON(campaign.dump()).value().asDictionary();
}

/// A campaign of layout 3 that needs no picture.
inline Dictionary plainCampaign(const std::string& changes = "") {
  const char* const urls = "layout/background/uri;layout/primary_button/uri;layout/secondary_button/uri;";
  return campaignWithPictures(R"(layout/type="layout3";layout/image;)" + (urls + changes));
}

inline std::shared_ptr<LMRInAppMessage> read(const Dictionary& campaign) {
  return LMRInAppMessage::initWithDictionary(campaign);
}

inline void saveCampaign(const std::string& changes = "") {
  LMRDataManager::sharedInstance().saveCampaign(read(plainCampaign(changes))->row());
}

/// What the lines that drop a campaign name as the reason, each with "; " behind it; empties the log.
inline std::string dropReasons(testing::FakeSystemLog& log) {
  std::string reasons;
  for (const std::string& line : log.messages()) {
    const auto start = line.find(" due to ") + std::string_view(" due to ").size();
    const auto end = line.find(" have nil or bad value");
    if (end != std::string::npos) reasons += line.substr(start, end - start) + "; ";
  }
  log.clear();
  return reasons;
}

/// The stored campaigns as "id enable/paused, …", in the order of their saving; "<null>" for none.
inline std::string storedCampaigns() {
  const char* const query =
      "select group_concat(campaignId || ' ' || enable || '/' || paused, ', ') as stored from lmro_inapp";
  return OstrelSQLiteManager("ostrelab.sqlite").getRowsForQuery(query).at(0).at("stored").description();
}

}  // namespace lumora::tests
