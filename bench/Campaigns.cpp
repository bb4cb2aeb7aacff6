#include "bench/Campaigns.h"

#include <fmt/format.h>

#include <fstream>
#include <iterator>
#include <stdexcept>

#include "bench/PlainSQLite.h"
#include "lumora/InApp/LMRInAppMessage.h"
#include "lumora/Platform/JSON.h"

namespace lumora_bench {
namespace {

/// The last component of the URL of the campaign's image.
constexpr const char* kImageName = "trail.png";

lumora::Dictionary exampleCampaign() {
  std::ifstream file(LUMORA_BENCH_CAMPAIGN, std::ios::binary);
  const auto decoded = lumora::parseJSON(std::string(std::istreambuf_iterator<char>(file), {}));
  if (!decoded || !decoded->asDictionary()) throw std::runtime_error(LUMORA_BENCH_CAMPAIGN " is no campaign");
  return *decoded->asDictionary();
}

}  // namespace

lumora::Dictionary campaign(const std::string& id, const std::string& trigger) {
  static const lumora::Dictionary example = exampleCampaign();
  lumora::Dictionary result = example;
  result.insert_or_assign("cid", id);
  result.insert_or_assign("display_trigger", trigger);
  return result;
}

lumora::List campaigns(int count, int triggers) {
  lumora::List result;
  for (int i = 0; i < count; ++i)
    result.emplace_back(campaign(fmt::format("c{}", i), fmt::format("t{}", i % triggers)));
  return result;
}

void cacheImages(const std::string& cachesFolder, int count) {
  for (int i = 0; i < count; ++i)
    std::ofstream(fmt::format("{}/c{}_{}", cachesFolder, i, kImageName)) << "image";
}

std::string statusUpdate(const std::string& id) {
  return fmt::format("Update lmro_inapp set paused=0 where campaignId = '{}';", id);
}

std::string campaignInsertion(const lumora::LMRInAppMessage& message) {
  return fmt::format(
      "INSERT OR REPLACE INTO lmro_inapp (inapp_msg,campaignId,event,startTime,endTime,inapp_frequency) "
      "VALUES "
      "('{}','{}','{}','{}','{}','{}');",
      message.getJsonData().value(), message.getCampaignId().value(), message.getDisplayTrigger().value(),
      message.getStartTime(), message.getEndTime(), message.getFrequency());
}

void removeCampaigns(const std::string& databaseFile) {
  createTables(databaseFile);
  PlainSQLite database(databaseFile);
  database.run("delete from lmro_inapp");
  database.run("VACUUM");
}

void storeCampaigns(const std::string& databaseFile, const lumora::List& campaigns) {
  removeCampaigns(databaseFile);
  std::vector<std::string> statements;
  for (const lumora::Value& campaign : campaigns) {
    const auto message = lumora::LMRInAppMessage::initWithDictionary(*campaign.asDictionary());
    if (!message) throw std::runtime_error("a campaign was dropped");
    statements.push_back(campaignInsertion(*message));
  }
  PlainSQLite(databaseFile).runTogether(statements);
}

}  // namespace lumora_bench
