#include "tests/Support/TemporaryFolder.h"
#include "tests/Support/TestFiles.h"
#include "tests/end_to_end/ServiceProcess.h"

namespace lumora_end_to_end {
namespace {

using nlohmann::json;

const std::string campaigns = LUMORA_EXAMPLES_FOLDER "/campaigns";

/// A sample with a picture and both buttons.
json accountWithMessages() {
  json campaign =
      json::parse(lumora::testing::readFile(campaigns + "/layout3-once-per-session-until-cta.json"));
  campaign["display_frequency"] = "everytime";
  campaign["layout"]["primary_button"]["action"]["ios"] = "example.com/go";
  campaign["layout"]["secondary_button"]["action"]["ios"] = "refuse://me";
  return {{"acme", {{"secret", "s3cret"}, {"campaigns", json::array({campaign})}}}};
}

class HostDisplayTest : public testing::Test {
 protected:
  HostDisplayTest() { host_.runAll("init acme s3cret\ndrain"); }

  /// What the command, and the work that it queues, print besides the lines that end them.
  Lines shown(const std::string& command) {
    Lines lines = host_.run(command);
    EXPECT_TRUE(lines.back().contains("done")) << lines.back();
    lines.pop_back();
    for (const json& line : host_.run("drain")) lines.push_back(line);
    lines.pop_back();
    return lines;
  }

  const lumora::testing::TemporaryFolder folder_;
  const ServiceProcess service_{folder_.path(), accountWithMessages(), "--assets", campaigns + "/assets"};
  HostProcess host_{folder_.path(), service_.hostOptions()};
};

TEST_F(HostDisplayTest, AMessageIsShownTappedAndShownAgain) {
  EXPECT_EQ(host_.result("tap close_button"), false);
  const Lines lines = shown("action order_delivered");
  ASSERT_EQ(lines.size(), 1U) << host_.process().errorText();
  json screen = lines[0].at("screen");
  const json elements = screen.at("elements");
  screen.erase("elements");
  EXPECT_EQ(screen.dump(), R"({"campaign":"rate-us","container":"LMRInAppViewControllerPop",)"
                           R"("frequency":1,"layout":103,"presentation":4})");
  EXPECT_EQ(elements.size(), 6U) << elements;
  EXPECT_EQ(elements.at("primary_text").at("text"), "Did your parcel arrive safely?");
  EXPECT_FALSE(elements.at("primary_text").contains("type"));
  EXPECT_EQ(elements.at("primary_button").at("action"), "example.com/go");
  EXPECT_EQ(elements.at("close_button").at("type"), 101);
  EXPECT_EQ(lumora::testing::readFile(elements.at("background").at("file")),
            lumora::testing::readFile(campaigns + "/assets/paper.png"));

  const json dismissed{{"dismissed", {{"campaign", "rate-us"}}}};
  EXPECT_EQ(host_.result("tap primary_text"), false);
  EXPECT_EQ(shown("tap primary_button"), (Lines{dismissed, {{"opened_url", "http://example.com/go"}}}));
  EXPECT_EQ(shown("action order_delivered").size(), 1U);
  EXPECT_EQ(shown("tap secondary_button"), (Lines{dismissed, {{"refused_url", "refuse://me"}}}));
  EXPECT_EQ(shown("action order_delivered").size(), 1U);
  EXPECT_EQ(shown("tap background"), Lines{dismissed});
  EXPECT_EQ(host_.result("tap background"), false);
}

TEST_F(HostDisplayTest, ADeepLinkAsksForTheDevicesName) {
  EXPECT_EQ(host_.result("answer 0"), false);
  const Lines prompt = shown("open-url 'lmro://add_test_device?secret=s3cret&token=t1'");
  ASSERT_EQ(prompt.size(), 1U);
  const json alert = prompt[0].at("alert");
  EXPECT_EQ(alert.at("buttons").dump() + alert.at("tag").dump(), R"(["No","Yes"]101)");
  EXPECT_TRUE(alert.contains("text"));
  EXPECT_TRUE(host_.run("answer 2").back().contains("error"));
  const Lines outcome = shown("answer 1 'my phone'");
  ASSERT_EQ(outcome.size(), 1U);
  EXPECT_EQ(outcome[0].at("alert").at("title"), "Success!");
  EXPECT_FALSE(outcome[0].at("alert").contains("text"));
  EXPECT_EQ(host_.result("setting lmro.DeviceName"), "my phone");
}

}  // namespace
}  // namespace lumora_end_to_end
