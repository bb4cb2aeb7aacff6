#include <set>

#include "lumora/InApp/LMRInAppDescription.h"
#include "tests/Facade/LumoraFixture.h"
#include "tests/InApp/Campaigns.h"

namespace lumora::tests {
namespace {

using LMRInAppMessageTest = LumoraTest;

/// What a key may hold by mistake; the letters stand for these in the table.
constexpr std::pair<char, const char*> kinds[] = {{'-', ""},           {'0', "=null"},     {'n', "=5"},
                                                  {'f', "=2.5"},       {'b', "=true"},     {'t', R"(="x")"},
                                                  {'d', R"(="17.9")"}, {'l', R"(=["x"])"}, {'m', "={}"}};

TEST_F(LMRInAppMessageTest, EveryKeyOfEveryKind) {
  // Which kinds are accepted, and by which keys; those of a part stand in the layout.
  const std::pair<std::string_view, const char*> cases[] = {
      {"nftd", "cid"},
      {"-0nfblm", "start_time"},
      {"-0nfbtdlm", "version action unknown"},
      {"", "end_time primary_text/alignment primary_button/style close_button/style"},
      {"td", "status display_trigger display_frequency background/border_color image/uri image/border_color"},
      {"td", "primary_text/color primary_text/text primary_button/text primary_button/text_color"},
      {"-0td", "background/color background/uri primary_button/uri image/action/ios"},
      {"nf", "background/radius background/border_width image/margin image/radius image/border_width"},
      {"nfd", "primary_text/size primary_button/text_size"},
      {"nfb", "secondary_text/bold secondary_text/italic secondary_text/underline primary_button/gradient"},
      {"nfb", "primary_button/border primary_button/bold primary_button/italic primary_button/underline"},
      {"-0m", "background/action image/action primary_text/action primary_button/action close_button/action"},
      {"-0", "image/scale_type"},
  };
  for (const auto& [accepted, keys] : cases) {
    std::istringstream stream(keys);
    for (std::string key; stream >> key;) {
      const bool isOfPart = key.find('/') != std::string::npos;
      std::string dropped = key == "cid" ? "campaingId; " : key.substr(key.rfind('/') + 1) + "; ";
      if (isOfPart) dropped += key.starts_with("close_button/") ? "kept" : "layout1; ";
      for (const auto& [kind, value] : kinds) {
        const bool isGood = accepted.find(kind) != std::string_view::npos;
        const auto message = read(campaignWithPictures(key + value, isOfPart ? "layout/" : ""));
        EXPECT_EQ(dropReasons(host.log) + (message ? "kept" : ""), isGood ? "kept" : dropped) << key << kind;
      }
    }
  }
}

TEST_F(LMRInAppMessageTest, CodesNumbersAndPairsOfKeys) {
  // A part, a field of it, and after each change the lines' reasons and the field's value.
  const std::tuple<std::string, const char*, Texts, Texts> cases[] = {
      {"background", "radius", {"color", "uri", "color;uri;radius"}, {"1", "1", "color | uri; layout1; "}},
      {"image", "scale_type", {R"(scale_type="width")", R"(scale_type="height")"}, {"100", "101"}},
      {"image", "scale_type", {R"(scale_type="both")", "scale_type"}, {"102", "0"}},
      {"primary_text", "alignment", {R"(alignment="start")", R"(alignment="end")"}, {"100", "101"}},
      {"secondary_text", "alignment", {R"(alignment="center")"}, {"104"}},
      {"primary_text", "size", {"size=-3.9", R"(size="inf")"}, {"-3", "size; layout1; "}},
      {"primary_button", "style", {R"(style="style1")", R"(style="style3")"}, {"1", "3"}},
      {"primary_button", "style", {"uri;style", R"(uri;style="x")"}, {"0", "style; layout1; "}},
      {"primary_button", "border", {"uri;border"}, {"border; 0"}},
      {"primary_button", "border", {"uri;text;border"}, {"border; text; layout1; "}},
      {"primary_button", "color", {"color", "uri;gradient"}, {"color | uri; layout1; ", "g"}},
      {"close_button", "style", {R"(style="style1")", R"(style="style4")"}, {"1", "4"}},
      {"close_button", "layoutAlignment", {"action", R"(layout_alignment="center")"}, {"101", "104"}},
  };
  for (const auto& [part, field, changes, results] : cases) {
    for (std::size_t i = 0; i < changes.size(); ++i) {
      const auto message = read(campaignWithPictures(changes[i], "layout/" + part + "/"));
      const Value shown = message ? describeInAppMessage(*message).at("elements") : Value();
      std::string result = dropReasons(host.log);
      if (message) result += shown.asDictionary()->at(part).asDictionary()->at(field).description();
      EXPECT_EQ(result, results[i]) << part << ' ' << changes[i];
    }
  }
}

TEST_F(LMRInAppMessageTest, BadCampaignsOfAnAnswerCostOnlyThemselves) {
  initialise();
  List campaigns = {7, "x"};
  for (const char* changes : {"cid=12", "cid", "status={}", "layout", "layout/image=1", R"(cid="last")",
                              R"(cid="ended";end_time="2017-06-01T11:59:59Z")"}) {
    campaigns.emplace_back(plainCampaign(changes));
  }
  syncAnswer = *writeJSON(Dictionary{{"success", true}, {"inapp", campaigns}});
  resync(10);
  EXPECT_EQ(host.log.count("LumoraSDK- Dropping campaign nil due to campaingId have nil or bad value"), 1U);
  EXPECT_EQ(dropReasons(host.log), "campaingId; status; type; image uri; ");
  EXPECT_EQ(storedCampaigns(), "12 1/0, last 1/0");
}

TEST_F(LMRInAppMessageTest, LayoutsNeedTheirComponents) {
  const std::string layouts[] = {"background image primary_text secondary_text primary_button ",
                                 "background image primary_button ",
                                 "background primary_text secondary_text primary_button secondary_button ",
                                 "image ",
                                 "image primary_text secondary_text primary_button ",
                                 "image primary_text secondary_text primary_button secondary_button "};
  for (int i = 0; i < 6; ++i) {
    const std::string name = "layout" + std::to_string(i + 1);
    const auto without = [&](const std::string& part) {
      return read(campaignWithPictures("layout/type=\"" + name + "\";layout/" + part));
    };
    const Dictionary shown = describeInAppMessage(*without("nothing"));
    EXPECT_EQ(shown.at("layout").integerValue(), 101 + i);
    EXPECT_TRUE(shown.at("container").description().ends_with(i < 3 ? "ControllerPop" : "ControllerFull"));
    std::istringstream parts(layouts[2] + "image");
    for (std::string part; parts >> part;) {
      const bool isNeeded = layouts[i].find(part + ' ') != std::string::npos;
      EXPECT_EQ(shown.at("elements").asDictionary()->contains(part), isNeeded) << name << part;
      EXPECT_EQ(without(part) == nullptr, isNeeded) << name << part;
      EXPECT_EQ(dropReasons(host.log), isNeeded ? name + "; " : "") << name << part;
      if (!isNeeded) continue;
      EXPECT_FALSE(without(part + "=5")) << name << part;
      EXPECT_EQ(dropReasons(host.log), part + "; " + name + "; ") << name << part;
    }
  }
}

TEST_F(LMRInAppMessageTest, PicturesAreFetchedInOrderOrDoneWithout) {
  // Changes of a campaign of layout 1, the pictures that are fetched, and the reasons.
  const std::tuple<const char*, std::string, std::string> cases[] = {
      {R"(layout/background/uri="no")", "no img b1 b2 ", "kept"},
      {R"(layout/background/uri="no";layout/background/color)", "no ", "background uri; "},
      {R"(layout/background/uri="no";layout/type="layout4")", "no ", "background uri; "},
      {R"(layout/image/uri="no")", "bg no ", "image uri; "},
      {R"(layout/primary_button/uri="no";layout/secondary_button)", "bg img no ", "kept"},
      {"layout/primary_button/uri;layout/primary_button/color", "bg img ", "primary button uri; "},
      {"layout/secondary_button={}", "bg img b1 ", "secondary button uri; "},
      {"layout/close_button={}", "bg img b1 b2 ", "style; kept"},
      {R"(layout/close_button;layout/type="layout7")", "", "type; "},
      {"layout/close_button=7", "", "close_button; "},
  };
  host.imageDecoder.setPredicate([](std::string_view bytes) { return bytes != "no"; });
  host.urlLoader.setHandler([](const URLRequest& asked) { return URLResponse{200, {}, asked.url, {}}; });
  for (const auto& [changes, fetched, reasons] : cases) {
    forget();
    const auto message = read(campaignWithPictures(changes));
    EXPECT_EQ(dropReasons(host.log) + (message ? "kept" : ""), reasons) << changes;
    std::string names;
    for (const auto& get : host.urlLoader.requests()) names += get.url.substr(get.url.rfind('/') + 1) + ' ';
    EXPECT_EQ(names, fetched) << changes;
    LMRDataManager::sharedInstance().clearCampaigns({"c1"});
  }
}

TEST_F(LMRInAppMessageTest, StartAndEnd) {
  for (const auto& [zone, stamp] :
       {std::pair("Z", 1477989e6), std::pair("GMT", 1477989e6), std::pair("+0100", 14779854e5),
        std::pair("-05:30", 14780088e5), std::pair("GMT+01:00", 14779854e5)})
    EXPECT_EQ(LMRInAppMessage::getTimeStamp(std::string("2016-11-01T08:30:00") + zone), stamp) << zone;
  for (const char* text : {"2015-02-29T00:00:00Z", "2016-11-01T24:00:00Z", "2016-11-01T08:30:00", "", "x",
                           "2016-11-01T08:30:00Zx", " 2016-11-01T08:30:00Z", "2016-11-01T08:30:00GMT+1",
                           "2016-11-01T08:30:00GMT+0100", "2016-11-01T08:30:60Z"})
    EXPECT_EQ(LMRInAppMessage::getTimeStamp(text), std::nullopt) << text;
  const auto message = read(plainCampaign(R"(end_time="2017-06-01T12:00:01Z")"));
  for (const auto& [seconds, isValid] : {std::pair(1.0, true), {1.000001, false}, {0.015625, true}}) {
    setNow(startSecond + seconds);
    EXPECT_EQ(message->isValid(), isValid) << seconds;
  }
  EXPECT_EQ(message->getStartTime() + ' ' + message->getEndTime(), "1496318400015.625 1496318401000");
  EXPECT_FALSE(LMRInAppMessage::initWithDictionary(std::nullopt)->isValid());
}

const std::string examples = LUMORA_SOURCE_FOLDER "/../examples";

Dictionary parsedFile(const std::string& name) {
  return *parseJSON(testing::readFile(examples + name)).value().asDictionary();
}

TEST_F(LMRInAppMessageTest, CarriesWhatEachPartShows) {
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
TEST_F(LMRInAppMessageTest, SampleCampaignsAreAccepted) {
  std::set<std::int64_t> layoutsAndFrequencies;
  List campaigns;
  for (const std::string& name : testing::namesIn(examples + "/campaigns", "layout")) {
    campaigns.emplace_back(parsedFile("/campaigns/" + name));
    const auto message = read(*campaigns.back().asDictionary());
    ASSERT_TRUE(message) << name;
    layoutsAndFrequencies.insert({message->getType(), message->getFrequency()});
  }
  EXPECT_EQ(layoutsAndFrequencies, (std::set<std::int64_t>{1, 2, 3, 4, 5, 101, 102, 103, 104, 105, 106}));
  const Dictionary accounts = *parsedFile("/accounts.json").at("accounts").asDictionary();
  EXPECT_EQ(accounts.at("acme").asDictionary()->at("campaigns"), Value(campaigns));
}

}  // namespace
}  // namespace lumora::tests
