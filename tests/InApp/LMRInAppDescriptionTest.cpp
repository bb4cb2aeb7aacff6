#include "lumora/InApp/LMRInAppDescription.h"

#include <filesystem>
#include <set>

#include "tests/Facade/LumoraFixture.h"
#include "tests/InApp/Campaigns.h"

namespace lumora::tests {
namespace {

const std::string examples = LUMORA_SOURCE_FOLDER "/../examples";

Dictionary parsedFile(const std::string& name) {
  return *parseJSON(testing::readFile(examples + name)).value().asDictionary();
}

using LMRInAppDescriptionTest = LumoraTest;

TEST_F(LMRInAppDescriptionTest, CarriesWhatEachPartShows) {
  const auto message = read(campaignWithPictures(
      R"(layout/background/action={"ios":"acme://a"};layout/close_button/action={"ios":"close"})"));
  host.files.remove(host.files.cachesDirectory() + "/c1_bg");
  std::string expected = R"({"campaign":"c1","container":"LMRInAppViewControllerPop","elements":{
"background":{"action":"acme://a","borderColor":"c","borderWidth":2.5,"color":"b","radius":1,"type":105,"uri":"bg"},
"close_button":{"action":"close","color":"k","frequency":1,"layoutAlignment":101,"style":5,"type":101},
"image":{"action":null,"borderColor":"c","borderWidth":0,"file":"/c1_img","margin":1,"radius":2,"scale_type":0,
"type":104,"uri":"img"},"primary_button":{"action":null,"bold":true,"border":false,"color":"g","file":"/c1_b1",
"gradient":true,"italic":false,"style":2,"text":"Go","textColor":"w","textSize":17,"type":102,"underline":true,
"uri":"b1"},"primary_text":{"alignment":100,"bold":true,"color":"p","italic":false,"size":12,"text":"Hi",
"underline":true},"secondary_text":{"alignment":104,"bold":false,"color":"s","italic":true,"size":9,
"text":"there","underline":false}},"frequency":1,"layout":101})";
  std::string shown = *writeJSON(describeInAppMessage(*message));
  for (const std::string& folder : {host.files.cachesDirectory(), std::string("https://i.example/")}) {
    for (auto at = shown.find(folder); at != shown.npos; at = shown.find(folder))
      shown.erase(at, folder.size());
  }
  std::erase(expected, '\n');
  EXPECT_EQ(shown, expected);
}

/// Every layout and every frequency has a sample, the library accepts them all, and the account offers them.
TEST_F(LMRInAppDescriptionTest, SampleCampaignsAreAccepted) {
  std::set<std::int64_t> layoutsAndFrequencies;
  List campaigns;
  for (const std::string& name : testing::namesIn(examples + "/campaigns", "layout")) {
    campaigns.emplace_back(parsedFile("/campaigns/" + name));
    const auto message = read(*campaigns.back().asDictionary());
    ASSERT_TRUE(message) << name;
    layoutsAndFrequencies.insert({message->getType(), message->getFrequency()});
    const Dictionary shown = describeInAppMessage(*message);
    for (const auto& [part, value] : *shown.at("elements").asDictionary()) {
      const Value* uri = findValue(*value.asDictionary(), "uri");
      if (!uri) continue;
      const std::string picture = uri->asString()->substr(uri->asString()->rfind('/'));
      EXPECT_TRUE(std::filesystem::exists(examples + "/campaigns/assets" + picture)) << name << ' ' << part;
      EXPECT_TRUE(findValue(*value.asDictionary(), "file")) << name << ' ' << part;
    }
  }
  EXPECT_EQ(layoutsAndFrequencies, (std::set<std::int64_t>{1, 2, 3, 4, 5, 101, 102, 103, 104, 105, 106}));
  const Dictionary accounts = *parsedFile("/accounts.json").at("accounts").asDictionary();
  EXPECT_EQ(accounts.at("acme").asDictionary()->at("campaigns"), Value(campaigns));
}

}  // namespace
}  // namespace lumora::tests
