#include "lumora/InApp/LMRInAppDescription.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <set>
#include <string>
#include <vector>

#include "lumora/Platform/JSON.h"
#include "lumora/Testing/FakePlatform.h"
#include "tests/Support/TestFiles.h"

namespace lumora {
namespace {

using lumora::testing::FakePlatform;
using lumora::testing::namesIn;
using lumora::testing::readFile;

const std::string examples = LUMORA_SOURCE_FOLDER "/../examples";

/// The cached file is asked for by campaign and URL; its bytes play no part.
void answerWithImages(FakePlatform& host) {
  host.urlLoader.setHandler([](const URLRequest&) {
    URLResponse response;
    response.statusCode = 200;
    response.body = "image";
    return response;
  });
}

Dictionary parsed(const std::string& text) {
  const auto value = parseJSON(text);
  return value && value->asDictionary() ? *value->asDictionary() : Dictionary();
}

Dictionary description(const Dictionary& campaign) {
  const auto message = LMRInAppMessage::initWithDictionary(campaign);
  return message ? describeInAppMessage(*message) : Dictionary();
}

const Dictionary& element(const Dictionary& description, const std::string& name) {
  static const Dictionary none;
  const Value* elements = findValue(description, "elements");
  const Value* found = elements ? findValue(*elements->asDictionary(), name) : nullptr;
  return found ? *found->asDictionary() : none;
}

std::set<std::string> keysOf(const Dictionary& map) {
  std::set<std::string> keys;
  for (const auto& [key, value] : map) keys.insert(key);
  return keys;
}

const char* const layout2 = R"({
  "cid": "sale", "status": "active", "display_trigger": "shop", "display_frequency": "everytime_until_cta",
  "end_time": "2099-01-01T00:00:00Z",
  "layout": {
    "type": "layout2",
    "background": {"color": "#fff", "uri": "https://a.example/missing.png", "radius": 4, "border_color": "red",
                   "border_width": 1.5, "action": {"ios": "acme://sale"}},
    "image": {"uri": "https://a.example/p.png", "margin": 2, "radius": 3, "border_color": "#000", "border_width": 0},
    "primary_text": {"text": "not part of this layout"},
    "primary_button": {"text": "Go", "text_size": "17.9", "text_color": "#123", "bold": true, "italic": false,
                       "underline": true, "color": "blue"},
    "close_button": {"style": "style5", "color": "#eee", "layout_alignment": "center", "action": {"ios": "close"}}}})";

TEST(LMRInAppDescriptionTest, CarriesWhatEachPartShows) {
  FakePlatform& host = FakePlatform::install();
  answerWithImages(host);
  host.imageDecoder.setPredicate([](std::string_view bytes) { return bytes == "image"; });
  const auto message = LMRInAppMessage::initWithDictionary(parsed(layout2));
  ASSERT_TRUE(message);
  host.files.remove(host.files.cachesDirectory() + "/sale_missing.png");
  const std::string picture = host.files.cachesDirectory() + "/sale_p.png";

  const Dictionary expected = {
      {"campaign", "sale"},
      {"container", "LMRInAppViewControllerPop"},
      {"layout", 102},
      {"frequency", 3},
      {"elements", Dictionary{{"background", Dictionary{{"type", 105},
                                                        {"action", "acme://sale"},
                                                        {"color", "#fff"},
                                                        {"uri", "https://a.example/missing.png"},
                                                        {"radius", 4},
                                                        {"borderColor", "red"},
                                                        {"borderWidth", 1.5}}},
                              {"image", Dictionary{{"type", 104},
                                                   {"action", nullptr},
                                                   {"uri", "https://a.example/p.png"},
                                                   {"file", picture},
                                                   {"margin", 2},
                                                   {"radius", 3},
                                                   {"borderColor", "#000"},
                                                   {"borderWidth", 0},
                                                   {"scale_type", 0}}},
                              {"primary_button", Dictionary{{"type", 102},
                                                            {"action", nullptr},
                                                            {"color", "blue"},
                                                            {"style", 0},
                                                            {"gradient", false},
                                                            {"border", false},
                                                            {"text", "Go"},
                                                            {"textSize", 17},
                                                            {"textColor", "#123"},
                                                            {"bold", true},
                                                            {"italic", false},
                                                            {"underline", true}}},
                              {"close_button", Dictionary{{"type", 101},
                                                          {"action", "close"},
                                                          {"style", 5},
                                                          {"color", "#eee"},
                                                          {"layoutAlignment", 104},
                                                          {"frequency", 3}}}}}};
  EXPECT_EQ(writeJSON(describeInAppMessage(*message), JSONStyle::pretty),
            writeJSON(expected, JSONStyle::pretty));
}

TEST(LMRInAppDescriptionTest, TextsAreNotTappable) {
  answerWithImages(FakePlatform::install());
  const Dictionary shown = description(parsed(readFile(examples + "/campaigns/layout6-everytime.json")));
  const std::set<std::string> fields = {"text", "color", "size", "alignment", "bold", "italic", "underline"};
  EXPECT_EQ(keysOf(element(shown, "primary_text")), fields);
  EXPECT_EQ(keysOf(element(shown, "secondary_text")), fields);
}

TEST(LMRInAppDescriptionTest, BadCloseButtonIsLeftOut) {
  answerWithImages(FakePlatform::install());
  std::string text = layout2;
  text.replace(text.find("style5"), 6, "style9");
  const Dictionary shown = description(parsed(text));
  EXPECT_FALSE(element(shown, "image").empty());
  EXPECT_TRUE(element(shown, "close_button").empty());
}

/// Every layout and every frequency has a sample, and the library accepts them all.
TEST(LMRInAppDescriptionTest, SampleCampaignsAreAccepted) {
  answerWithImages(FakePlatform::install());
  std::set<std::int64_t> layouts;
  std::set<std::int64_t> frequencies;
  for (const std::string& name : namesIn(examples + "/campaigns", "layout")) {
    const Dictionary shown = description(parsed(readFile(examples + "/campaigns/" + name)));
    ASSERT_FALSE(shown.empty()) << name;
    layouts.insert(shown.at("layout").integerValue());
    frequencies.insert(shown.at("frequency").integerValue());
    for (const auto& [part, value] : *shown.at("elements").asDictionary()) {
      const Value* uri = findValue(*value.asDictionary(), "uri");
      if (!uri) continue;
      const std::string picture = uri->asString()->substr(uri->asString()->rfind('/') + 1);
      EXPECT_TRUE(std::filesystem::exists(examples + "/campaigns/assets/" + picture)) << name << ' ' << part;
      EXPECT_TRUE(findValue(*value.asDictionary(), "file")) << name << ' ' << part;
    }
  }
  EXPECT_EQ(layouts, (std::set<std::int64_t>{101, 102, 103, 104, 105, 106}));
  EXPECT_EQ(frequencies, (std::set<std::int64_t>{1, 2, 3, 4, 5}));
}

TEST(LMRInAppDescriptionTest, SampleAccountHoldsTheSampleCampaigns) {
  List campaigns;
  for (const std::string& name : namesIn(examples + "/campaigns", "layout")) {
    campaigns.emplace_back(parsed(readFile(examples + "/campaigns/" + name)));
  }
  const Dictionary file = parsed(readFile(examples + "/accounts.json"));
  ASSERT_TRUE(findValue(file, "accounts"));
  const Value* account = findValue(*file.at("accounts").asDictionary(), "acme");
  ASSERT_TRUE(account);
  EXPECT_EQ(account->asDictionary()->at("campaigns"), Value(campaigns));
}

}  // namespace
}  // namespace lumora
