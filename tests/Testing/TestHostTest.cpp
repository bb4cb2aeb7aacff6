#include "lumora/Testing/Host/TestHost.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sstream>

#include "lumora/Facade/Lumora.h"
#include "lumora/Facade/LumoraKeeper.h"
#include "lumora/Facade/LumoraLead.h"
#include "lumora/Platform/JSON.h"

namespace lumora::testing {
namespace {

using namespace std::chrono_literals;
using Texts = std::vector<std::string>;

class TestHostTest : public ::testing::Test {
 protected:
  /// What the mistake is answered with; "" for no mistake.
  static std::string complaint(const std::function<void()>& mistake) {
    try {
      mistake();
    } catch (const std::logic_error& error) {
      return error.what();
    }
    return "";
  }

  Lumora& sdk() { return Lumora::sharedInstance(); }

  TestHost& host = TestHost::start();
};

TEST_F(TestHostTest, EveryKindOfEventIsAValue) {
  host.service.answerSync({{"config", Dictionary{{"test_device", true}}}});
  host.initialize();
  const Date begin = host.fakes.clock.now();
  sdk().startSession("level");
  host.advance(7s);
  sdk().endSession("level");
  sdk().reportAction("done");
  auto lead = std::make_shared<LumoraLead>();
  lead->setCity("Oslo");
  sdk().associateLead(lead);
  sdk().registerPushDeviceToken(Data{1});
  sdk().trackPushNotification(Dictionary{{"vs", Dictionary{{"cid", "c1"}}}});
  host.showCampaign(SampleCampaign{});
  host.tap("close_button");
  host.upload();

  std::vector<EventKind> kinds;
  for (const UploadedEvent& event : host.service.uploadedEvents()) kinds.push_back(event.kind);
  for (int kind = 0; kind < static_cast<int>(EventKind::other); ++kind) {
    EXPECT_THAT(kinds, ::testing::Contains(static_cast<EventKind>(kind)));
  }
  EXPECT_THAT(kinds, ::testing::Not(::testing::Contains(EventKind::other)));
  const UploadedEvent session = host.service.uploadedEvents(EventKind::session).at(0);
  EXPECT_EQ(session.name, "level");
  EXPECT_EQ(session.duration, 7s);
  EXPECT_EQ(session.time, begin + 7s);
  EXPECT_EQ(host.service.uploadedEvents(EventKind::profile).at(0).details.at("city"), "Oslo");
  EXPECT_EQ(host.service.uploadedEvents(EventKind::messageTap).at(0).campaign, "sample");
  std::ostringstream shown;
  shown << host.service.uploadedEvents(EventKind::action).at(0);
  EXPECT_EQ(shown.str(),
            R"({"event_type":"checkpoint","name":"done","timestamp":1496318407,"type":"custom"})");
}

TEST_F(TestHostTest, OnlyWhatTheServiceAcceptsIsUploaded) {
  host.initialize();
  host.service.forget();
  host.service.answerUpload(503, "<html>");
  sdk().reportAction("kept");
  host.upload();
  EXPECT_EQ(host.service.requests(RequestKind::upload).size(), 1U);
  EXPECT_EQ(host.service.uploadedActions(), Texts());
  host.service.acceptUploads();
  host.upload();
  host.upload();
  EXPECT_EQ(host.service.uploadedActions(), Texts{"kept"});
}

TEST_F(TestHostTest, CampaignsComeOnceAndBesideTheConfiguration) {
  host.service.answerSync({{"config", Dictionary{{"secure_mode", true}}}});
  host.initialize();
  host.showCampaign(SampleCampaign{.id = "first", .frequency = "once"});
  EXPECT_EQ(host.screen.text("primary_button"), "Open");
  EXPECT_EQ(host.screen.tappableElements(),
            (Texts{"background", "close_button", "primary_button", "secondary_button"}));
  host.tap("secondary_button");
  host.offerCampaign(SampleCampaign{.id = "second", .trigger = "other"});
  sdk().reportAction("sample_trigger");
  sdk().reportAction("other");
  host.run();
  EXPECT_EQ(host.screen.shownCampaigns(), (Texts{"first", "second"}));
  EXPECT_TRUE(sdk().isSecureModeEnabled());
  EXPECT_EQ(host.service.uploadedActions(), Texts())
      << "nothing goes out unsigned, and showing records nothing";
}

TEST_F(TestHostTest, AMonthOfAKeeperIsWorkedThrough) {
  host.initialize();
  const LumoraKeeper keeper;
  const Date begun = host.fakes.clock.now();
  host.advance(30 * 24h);
  EXPECT_EQ(host.fakes.clock.now() - begun, 30 * 24h);
  EXPECT_GT(host.service.requests(RequestKind::sync).size(), 90U);
}

TEST_F(TestHostTest, MistakesSayWhatToDo) {
  using ::testing::HasSubstr;
  EXPECT_THAT(complaint([] { TestHost::start(); }), HasSubstr("lumora_add_tests"));
  EXPECT_THAT(complaint([&] { host.offerCampaign(SampleCampaign{}); }), HasSubstr("call initialize()"));
  host.service.goOffline();
  EXPECT_THAT(complaint([&] { host.initialize(); }), HasSubstr("goOnline"));
  host.service.goOnline();
  host.initialize();
  sdk().reportAction("a");
  EXPECT_THAT(complaint([&] { host.service.uploadedEvents(); }), HasSubstr("call run() or upload()"));
  host.run();
  EXPECT_THAT(complaint([&] { host.tap("image"); }), HasSubstr("no message is on screen; call showCampaign"));
  Dictionary bad = SampleCampaign{};
  bad.erase("layout");
  EXPECT_THAT(complaint([&] { host.offerCampaign(bad); }), HasSubstr("Dropping campaign sample due to type"));
  host.showCampaign(SampleCampaign{});
  EXPECT_THAT(complaint([&] { host.tap("image"); }), HasSubstr("it has: background, close_button, "));
  EXPECT_THAT(complaint([&] { host.showCampaign(SampleCampaign{.id = "next"}); }), HasSubstr("tap it away"));
}

}  // namespace
}  // namespace lumora::testing
