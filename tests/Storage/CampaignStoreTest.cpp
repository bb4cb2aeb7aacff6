#include <gtest/gtest.h>

#include <tuple>

#include "lumora/InApp/LMRInAppHandler.h"
#include "lumora/Testing/FakePlatform.h"
#include "tests/InApp/Campaigns.h"
#include "tests/Storage/SQLiteConnection.h"

namespace lumora::tests {
namespace {

class CampaignStoreTest : public ::testing::Test {
 protected:
  CampaignStoreTest() { store.setObserver(LMRInAppHandler::sharedInstance()); }

  /// With its tables, which the first operation makes.
  static LMRDataManager& openedStore() {
    LMRDataManager& opened = LMRDataManager::sharedInstance();
    opened.cleanUpInapp();
    return opened;
  }

  std::string offered() {
    const auto campaign = store.getCampaign("open");
    return campaign ? campaign->campaignId : "none";
  }

  testing::FakePlatform& host = testing::FakePlatform::install();
  LMRDataManager& store = openedStore();
  SQLiteConnection database{host.files.documentsDirectory() + "/ostrelab.sqlite"};
};

TEST_F(CampaignStoreTest, FlagsChangeByTheFieldsOfTheRecord) {
  const std::tuple<std::optional<std::string>, int, int, const char*> cases[] = {
      {"c1", -1, 1, "c1 -1/1, it's 2 1/0, c4 1/0"},
      {"it's 2", 2, 7, "c1 -1/1, it's 2 1/7, c4 1/0"},
      {std::nullopt, 0, 0, "c1 -1/1, it's 2 0/7, c4 0/0"},
      {std::nullopt, 1, 2, "c1 -1/1, it's 2 1/7, c4 1/0"},
  };
  saveCampaign(R"(display_frequency="everytime_until_cta")");
  saveCampaign(R"(cid="it's 2";display_frequency="once_per_session")");
  saveCampaign(R"(cid="c4";display_frequency="once_per_session_until_cta")");
  for (const auto& [id, enable, paused, stored] : cases) {
    store.updateResource(LMRResource::initWithCampaignId(id, enable, paused));
    EXPECT_EQ(storedCampaigns(), stored) << id.value_or("nil") << enable << paused;
  }
}

/// A campaign's status counts even when the campaign is dropped.
TEST_F(CampaignStoreTest, LastSavedWinsAndStatusCounts) {
  for (const char* id : {"a", "b", "a"}) saveCampaign(std::string("cid=\"") + id + '"');
  read(plainCampaign(R"(cid="a";status="pause";layout)"));
  EXPECT_EQ(storedCampaigns() + ": " + offered(), "b 1/0, a 1/1: b");
  read(plainCampaign(R"(cid="a";status="unknown";end_time=5)"));
  EXPECT_EQ(storedCampaigns() + ": " + offered(), "b 1/0, a 1/0: a");
  store.updateResource(LMRResource::initWithCampaignId("a", -1, 1));
  saveCampaign(R"(cid="a")");
  LMRInAppHandler::sharedInstance().refill();
  EXPECT_EQ(storedCampaigns() + ": " + offered(), "b 1/0, a 1/0: a");
  read(plainCampaign(R"(cid="a";status="stop";display_trigger)"));
  EXPECT_EQ(storedCampaigns() + ": " + offered(), "b 1/0: b");
  EXPECT_TRUE(LMRInAppHandler::sharedInstance().lmrInappEvents()->empty());
  database.run("update lmro_inapp set inapp_msg = '{'");
  EXPECT_EQ(offered(), "none");
}

/// SQLite compares with the machine's clock, so a try counts only if it began and ended in the same second.
TEST_F(CampaignStoreTest, ShownStrictlyBetweenTheSecondsOfItsTimes) {
  saveCampaign();
  const std::string set = "update lmro_inapp set (startTime, endTime) = (select now + ";
  for (const auto& [start, end, expected] :
       {std::tuple("0", "60000", "none"), std::tuple("-1", "60000", "c1"),
        std::tuple("-60000", "999", "none"), std::tuple("-60000", "1000", "c1")}) {
    std::vector<std::string> now;
    std::string found;
    do {
      now = database.texts("select strftime('%s', 'now')");
      database.run(set + start + ", now + " + end + " from (select " + now[0] + "000 as now))");
      found = offered();
    } while (database.texts("select strftime('%s', 'now')") != now);
    EXPECT_EQ(found, expected) << start << " to " << end;
  }
}

TEST_F(CampaignStoreTest, RefillDeletesOneExpiredCampaign) {
  for (const std::string id : {"1", "2", "3"}) {
    saveCampaign("cid=\"" + id + R"(";display_trigger="gone";end_time="2017-06-01T12:00:00Z")");
    host.files.writeAtomically(host.files.cachesDirectory() + '/' + id + "_a.png", "image");
  }
  saveCampaign();
  for (const auto& [stored, files] : {std::pair("2 1/0, 3 1/0, c1 1/0", 2U), {"3 1/0, c1 1/0", 1U}}) {
    LMRInAppHandler::sharedInstance().refill();
    EXPECT_EQ(storedCampaigns(), stored);
    EXPECT_EQ(host.files.list(host.files.cachesDirectory())->size(), files) << stored;
    EXPECT_EQ(LMRInAppHandler::sharedInstance().lmrInappEvents()->size(), 1U) << stored;
  }
}

TEST_F(CampaignStoreTest, TextsAreStoredAsTheyAre) {
  const std::string texts[] = {"it's \"a\"\nb\\ %s", "'); drop table lmro_inapp; --",
                               std::string(1 << 20, 'x')};
  for (const std::string& text : texts) {
    Dictionary campaign = plainCampaign();
    for (const char* key : {"cid", "display_trigger", "more"}) campaign[key] = text;
    store.saveCampaign(read(campaign)->row());
    const auto found = store.getCampaign(text);
    EXPECT_TRUE(found && Value(found->campaign) == Value(campaign)) << text.substr(0, 99);
    store.clearCampaigns({text});
    EXPECT_EQ(storedCampaigns(), "<null>") << text.substr(0, 99);
  }
}

}  // namespace
}  // namespace lumora::tests
