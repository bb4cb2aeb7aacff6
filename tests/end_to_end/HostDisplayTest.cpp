#include <gtest/gtest.h>

#include <string>

#include "tests/Support/TemporaryFolder.h"
#include "tests/end_to_end/HostProcess.h"
#include "tests/end_to_end/ServiceProcess.h"

namespace lumora_end_to_end {
namespace {

using lumora::testing::TemporaryFolder;
using nlohmann::json;

/// A campaign that needs no picture: everything has a colour.
json campaign() {
  const json text{{"color", "#000"}, {"size", 12},         {"bold", false},     {"italic", false},
                  {"text", "Hello"}, {"alignment", "end"}, {"underline", false}};
  const auto button = [](const std::string& action) {
    return json{{"color", "#fff"},
                {"style", "style1"},
                {"gradient", false},
                {"border", false},
                {"text_size", 12},
                {"bold", false},
                {"italic", false},
                {"text", "Go"},
                {"underline", false},
                {"text_color", "#000"},
                {"action", {{"ios", action}}}};
  };
  return {{"cid", "c1"},
          {"status", "active"},
          {"display_trigger", "opened"},
          {"display_frequency", "everytime"},
          {"start_time", "2016-01-01T00:00:00Z"},
          {"end_time", "2099-01-01T00:00:00Z"},
          {"layout",
           {{"type", "layout3"},
            {"background", {{"color", "#fff"}, {"radius", 1}, {"border_color", "#000"}, {"border_width", 1}}},
            {"primary_text", text},
            {"secondary_text", text},
            {"primary_button", button("example.com/go")},
            {"secondary_button", button("refuse://me")},
            {"close_button", {{"style", "style1"}, {"color", "#000"}, {"layout_alignment", "end"}}}}}};
}

class HostDisplayTest : public testing::Test {
 protected:
  /// What the commands print, without the lines that end them.
  Lines shown(const std::vector<std::string>& commands) {
    Lines lines;
    for (const std::string& command : commands) {
      Lines answer = host_.run(command);
      EXPECT_TRUE(answer.back().contains("done")) << answer.back();
      answer.pop_back();
      lines.insert(lines.end(), answer.begin(), answer.end());
    }
    return lines;
  }

  const TemporaryFolder folder_;
  const ServiceProcess service_{
      folder_.path(),
      {{"acme",
        {{"secret", "s3cret"}, {"config", json::object()}, {"campaigns", json::array({campaign()})}}}}};
  HostProcess host_{folder_.path(), service_.hostOptions()};
};

TEST_F(HostDisplayTest, AMessageIsShownTappedAndShownAgain) {
  host_.runAll("init acme s3cret\ndrain");
  EXPECT_EQ(host_.result("tap close_button"), false);
  const Lines lines = shown({"action opened", "drain"});
  ASSERT_EQ(lines.size(), 1U) << host_.process().errorText();
  const json screen = lines[0].at("screen");
  EXPECT_EQ(screen.at("campaign"), "c1");
  EXPECT_EQ(screen.at("container"), "LMRInAppViewControllerPop");
  EXPECT_EQ(screen.at("layout"), 103);
  EXPECT_EQ(screen.at("frequency"), 1);
  EXPECT_EQ(screen.at("presentation"), 4);
  const json elements = screen.at("elements");
  EXPECT_EQ(elements.size(), 6U) << elements;
  EXPECT_EQ(elements.at("primary_text").at("text"), "Hello");
  EXPECT_FALSE(elements.at("primary_text").contains("type"));
  EXPECT_EQ(elements.at("primary_button").at("action"), "example.com/go");
  EXPECT_EQ(elements.at("close_button").at("type"), 101);
  EXPECT_EQ(elements.at("close_button").at("action"), nullptr);

  const json dismissed{{"dismissed", {{"campaign", "c1"}}}};
  EXPECT_EQ(host_.result("tap primary_text"), false);
  EXPECT_EQ(shown({"tap primary_button", "drain"}),
            (Lines{dismissed, {{"opened_url", "http://example.com/go"}}}));
  EXPECT_EQ(shown({"action opened", "drain"}).size(), 1U);
  EXPECT_EQ(shown({"tap secondary_button", "drain"}), (Lines{dismissed, {{"refused_url", "refuse://me"}}}));
  EXPECT_EQ(shown({"action opened", "drain"}).size(), 1U);
  EXPECT_EQ(shown({"tap background", "drain"}), Lines{dismissed});
  EXPECT_EQ(host_.result("tap background"), false);
  EXPECT_EQ(host_.quit(), 0);
}

TEST_F(HostDisplayTest, ADeepLinkAsksForTheDevicesName) {
  host_.runAll("init acme s3cret\ndrain");
  EXPECT_EQ(host_.result("answer 0"), false);
  const Lines prompt = shown({"open-url 'lmro://add_test_device?secret=s3cret&token=t1'", "drain"});
  ASSERT_EQ(prompt.size(), 1U);
  EXPECT_EQ(prompt[0].at("alert").at("buttons"), (json{"No", "Yes"}));
  EXPECT_EQ(prompt[0].at("alert").at("tag"), 101);
  EXPECT_TRUE(prompt[0].at("alert").contains("text"));
  EXPECT_TRUE(host_.run("answer 2").back().contains("error"));
  const Lines outcome = shown({"answer 1 'my phone'", "drain"});
  ASSERT_EQ(outcome.size(), 1U);
  EXPECT_EQ(outcome[0].at("alert").at("title"), "Success!");
  EXPECT_FALSE(outcome[0].at("alert").contains("text"));
  EXPECT_EQ(host_.result("setting lmro.DeviceName"), "my phone");
  EXPECT_EQ(host_.result("answer 0"), true);
  EXPECT_EQ(host_.result("answer 0"), false);
  EXPECT_EQ(host_.quit(), 1);
}

}  // namespace
}  // namespace lumora_end_to_end
