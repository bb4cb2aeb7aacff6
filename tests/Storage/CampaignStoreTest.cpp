#include <gtest/gtest.h>

#include <tuple>

#include "lumora/InApp/LMRInAppHandler.h"
#include "tests/InApp/Campaigns.h"
#include "tests/Storage/EventStoreFixture.h"

namespace lumora::tests {
namespace {

class CampaignStoreTest : public EventStoreTest {
 protected:
  static std::string offered() {
    const auto campaign = store().getCampaign("open");
    return campaign ? *campaign->getCampaignId() : "none";
  }
};

TEST_F(CampaignStoreTest, FlagsChangeByTheFieldsOfTheRecord) {
  const std::tuple<std::optional<std::string>, int, int, const char*> cases[] = {
      {"c1", 0, 1, "c1 0/1, it's 2 1/0, c4 1/0"},
      {"c1", -1, 2, "c1 -1/1, it's 2 1/0, c4 1/0"},
      {"it's 2", 2, 7, "c1 -1/1, it's 2 1/7, c4 1/0"},
      {std::nullopt, 2, 2, "c1 -1/1, it's 2 1/7, c4 1/0"},
      {std::nullopt, 0, 0, "c1 -1/1, it's 2 0/7, c4 0/0"},
      {std::nullopt, 1, 2, "c1 -1/1, it's 2 1/7, c4 1/0"},
  };
  save(R"(display_frequency="everytime_until_cta")");
  save(R"(cid="it's 2";display_frequency="once_per_session")");
  save(R"(cid="c4";display_frequency="once_per_session_until_cta")");
  for (const auto& [id, enable, paused, stored] : cases) {
    store().updateResource(LMRResource::initWithCampaignId(id, enable, paused));
    EXPECT_EQ(storedCampaigns(), stored) << id.value_or("nil") << enable << paused;
  }
}

TEST_F(CampaignStoreTest, LastSavedWinsAndSavingResetsFlags) {
  for (const char* id : {"a", "b", "a"}) save(std::string("cid=\"") + id + '"');
  EXPECT_EQ(offered(), "a");
  store().updateResource(LMRResource::initWithCampaignId("a", -1, 1));
  EXPECT_EQ(offered(), "b");
  save(R"(cid="a")");
  EXPECT_EQ(storedCampaigns(), "b 1/0, a 1/0");
  store().getAllValidMessages();
  store().clearCampaigns({"a", "none"});
  EXPECT_EQ(storedCampaigns(), "b 1/0");
  EXPECT_TRUE(LMRInAppHandler::sharedInstance().lmrInappEvents()->empty());
}

TEST_F(CampaignStoreTest, BadTextsAndRefusedStatements) {
  save();
  SQLiteConnection(path()).run("update lmro_inapp set inapp_msg = '{'");
  EXPECT_EQ(offered(), "none");
  SQLiteConnection(path()).run("create trigger t before insert on lmro_inapp begin select abs(1 << 63); end");
  save();
  const std::string start = "LumoraFramework--[LMRDataManager saveCampaign:] [Line ";
  EXPECT_EQ(host.log.count(start + "272] Saved CampaignId : c1 successfully"), 1U);
  EXPECT_EQ(host.log.count(start + "270] Failed to save CampaignId : c1 due to integer overflow"), 1U);
}

/// SQLite compares with the machine's clock, so a try counts only if it began and ended in the same second.
TEST_F(CampaignStoreTest, ShownStrictlyBetweenTheSecondsOfItsTimes) {
  save();
  SQLiteConnection database(path());
  const std::string set = "update lmro_inapp set (startTime, endTime) = (select now + ";
  using Case = std::tuple<const char*, const char*, const char*>;
  for (const auto& [start, end, expected] : {Case("0", "60000", "none"), Case("-1", "60000", "c1"),
                                             Case("-60000", "999", "none"), Case("-60000", "1000", "c1")}) {
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
  for (const char* id : {"1", "2", "3"}) {
    save(std::string("cid=\"") + id + R"(";end_time="2017-06-01T12:00:00Z";display_trigger="t)" + id + '"');
    host.files.writeAtomically(host.files.cachesDirectory() + '/' + id + "_a.png", "image");
  }
  save();
  for (const auto& [stored, files] :
       {std::pair("2 1/0, 3 1/0, c1 1/0", 2U), {"3 1/0, c1 1/0", 1U}, {"c1 1/0", 0U}}) {
    store().getAllValidMessages();
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
    store().saveCampaign(*read(campaign));
    const auto found = store().getCampaign(text);
    EXPECT_TRUE(found && Value(*found->data()) == Value(campaign)) << text.substr(0, 99);
    store().clearCampaigns({text});
    EXPECT_EQ(storedCampaigns(), "<null>") << text.substr(0, 99);
  }
}

}  // namespace
}  // namespace lumora::tests
