#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/Support/TemporaryFolder.h"
#include "tests/end_to_end/EventRows.h"
#include "tests/end_to_end/HostProcess.h"

namespace lumora_end_to_end {
namespace {

using lumora::testing::TemporaryFolder;

using nlohmann::json;

class HostTrackingTest : public testing::Test {
 protected:
  const TemporaryFolder folder_;
  HostProcess host_{folder_.path()};
};

TEST_F(HostTrackingTest, OfflineEventsAreStoredInOrder) {
  host_.runAll("network offline\ninit account secret\ndrain");
  EXPECT_EQ(host_.result("is-initialized"), false);
  host_.runAll("action opened\nstart-session reading\ndrain\nadvance 3\nend-session reading");
  host_.runAll("lead '{\"city\":\"Oslo\"}'\ndrain");
  EXPECT_EQ(namesOf(storedEvents(folder_.path())),
            (std::vector<std::string>{"init", "opened", "reading", "user"}));
  EXPECT_EQ(host_.quit(), 0);
}

TEST_F(HostTrackingTest, ActionsCarryTheirMetadata) {
  struct Case {
    std::string argument;
    json metadata;
  };
  const std::vector<Case> cases{
      {"", json()},
      {"nil", json()},
      {"{}", json::object()},
      {R"('{"type":"t","details":"d","metric":1.5,"length":3,"Colour":"red"}')",
       {{"Action Type", "t"},
        {"Action Details", "d"},
        {"Action Metric", 1.5},
        {"Action Length", 3},
        {"Colour", "red"}}},
      {R"('{"type":null,"details":"","metric":null,"length":0,"Colour":null}')", {{"Action Length", 0}}},
  };
  for (const Case& action : cases) host_.result("action name " + action.argument);
  host_.result("drain");
  const Events events = eventsOfType(storedEvents(folder_.path()), "checkpoint");
  ASSERT_EQ(events.size(), cases.size());
  for (std::size_t i = 0; i < cases.size(); ++i) {
    EXPECT_EQ(events[i].value("metadata", json()), cases[i].metadata) << cases[i].argument;
    EXPECT_EQ(events[i].at("type"), "custom") << cases[i].argument;
  }
  EXPECT_EQ(host_.quit(), 0);
}

TEST_F(HostTrackingTest, LeadsUseEverySetter) {
  const json attributes{{"email", "ada@example.com"},
                        {"gender", "f"},
                        {"firstName", "Ada"},
                        {"lastName", "L"},
                        {"address", "1 Road"},
                        {"city", "Oslo"},
                        {"state", "S"},
                        {"country", "NO"},
                        {"postalCode", "0150"},
                        {"leadSource", "web"},
                        {"facebookId", "1"},
                        {"twitterId", "2"},
                        {"linkedInId", "3"},
                        {"dateOfBirth", "1990-01-01"},
                        {"facebookProfileURL", "u"},
                        {"facebookPhotoURL", "p"},
                        {"favourite colour", "blue"}};
  json given = attributes;
  given["empty"] = "";
  given["absent"] = nullptr;
  host_.result("lead '" + given.dump() + "'");
  host_.runAll("lead '{\"email\":\"no address\"}'\nlead nil\ndrain");
  const Events events = eventsOfType(storedEvents(folder_.path()), "user");
  ASSERT_EQ(events.size(), 2U);
  EXPECT_EQ(events[0].at("user"), attributes);
  EXPECT_EQ(events[1].at("user"), json::object());
  EXPECT_NE(host_.process().errorText().find("LumoraSDK-Please set valid user attributes\n"),
            std::string::npos);
  EXPECT_EQ(host_.quit(), 0);
}

TEST_F(HostTrackingTest, SessionsMeasureTheAdvancedClock) {
  host_.runAll(
      "start-session one\nstart-session two\ndrain\nadvance 90.5\nend-session one\nend-all-sessions "
      "nil\ndrain");
  host_.runAll("start-session three\ndrain\ndiscard-sessions\nend-session three\nend-session nil\ndrain");
  const Events events = eventsOfType(storedEvents(folder_.path()), "session");
  ASSERT_EQ(events.size(), 2U);
  for (const json& event : events) {
    // Real time passes as well.
    EXPECT_GE(event.at("duration"), 90) << event;
    EXPECT_LE(event.at("duration"), 150) << event;
  }
  EXPECT_EQ(host_.quit(), 0);
}

TEST_F(HostTrackingTest, LogLinesStandOnStandardErrorAsTheyAre) {
  host_.runAll("init '' secret\naction ''\naction nil");
  EXPECT_EQ(host_.process().errorText(),
            "LumoraSDK-Tarrow ID is an empty string.\n"
            "LumoraSDK-Actin name should be a valid string. Failed to report action .\n"
            "LumoraSDK-Actin name should be a valid string. Failed to report action (null).\n");
  EXPECT_EQ(host_.quit(), 0);
}

TEST_F(HostTrackingTest, LifecycleCommandsAnswer) {
  host_.runAll(
      "state inactive\nstate background\nbackground\nforeground\nstate active\nsleep 0\nsleep 0.01\ndrain");
  EXPECT_EQ(host_.result("can-report"), true);
  EXPECT_EQ(host_.quit(), 0);
}

}  // namespace
}  // namespace lumora_end_to_end
