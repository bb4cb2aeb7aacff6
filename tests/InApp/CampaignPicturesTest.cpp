#include <future>

#include "lumora/InApp/LMRInAppHandler.h"
#include "tests/Facade/LumoraFixture.h"
#include "tests/InApp/Campaigns.h"

namespace lumora::tests {
namespace {

/// Two campaigns, one of them with pictures, whose downloads nobody else may have to wait for.
class CampaignPicturesTest : public LumoraTest {
 protected:
  CampaignPicturesTest() {
    host.imageDecoder.setPredicate([](std::string_view bytes) { return bytes == "image"; });
    host.urlLoader.setHandler([this](const URLRequest& request) {
      if (!request.url.starts_with("https://i.example/")) return URLResponse{200, {}, syncAnswer, {}};
      EXPECT_FALSE(host.queues.isMainThread());
      others.push_back(std::async(std::launch::async, [] { logger().reportAppOpen(); }));
      EXPECT_EQ(others.back().wait_for(std::chrono::seconds(10)), std::future_status::ready);
      fetched += request.url.substr(18) + ' ';
      const bool isThere = isOnline && request.url.find("bg") == std::string::npos;
      return URLResponse{200, {}, isThere ? "image" : "", {}};
    });
    initialise();
    syncAnswer = *writeJSON(Dictionary{{"success", true}, {"inapp", List{pictured, plainCampaign()}}});
    foreground();
  }

  void foreground() {
    advance(20);
    lumora().appDidEnterBackground();
    lumora().appWillEnterForeground();
    host.queues.runAll();
  }

  /// The events that a campaign waits for, what was fetched and why campaigns were dropped, since last asked.
  std::string state() {
    std::string text;
    for (const char* event : {"open", "pic"}) {
      if (handler.lmrInappEvents()->contains(std::string(event))) text += event + std::string(" ");
    }
    return text + "| " + std::exchange(fetched, "") + "| " + dropReasons(host.log);
  }

  LMRInAppHandler& handler = LMRInAppHandler::sharedInstance();
  const Dictionary pictured =
      campaignWithPictures(R"(cid="p";display_trigger="pic";layout/type="layout2";layout/primary_button/uri;)"
                           "layout/secondary_button");
  bool isOnline = true;
  std::string fetched;
  std::vector<std::future<void>> others;
};

TEST_F(CampaignPicturesTest, TapsAndEventsLeaveThemToTheQueueAndSessionsFetchThemFirst) {
  // The background's picture never comes; it has a colour, and is tried once more by each refill.
  EXPECT_EQ(state(), "open pic | bg img bg | ");
  syncAnswer = accepted;
  const auto tap = [this] {
    LMRTappable button{"another", 2, 102, {}, {}};
    handler.buttonAction(button);
  };
  const auto firstEvent = [this] {
    handler.setLmrInappEvents(nullptr);
    logger().reportCheckpoint("none", "custom", std::nullopt);
  };
  for (const auto& refill : {std::function<void()>(tap), std::function<void()>(firstEvent), {}}) {
    for (const auto& [evicted, online, before, after] :
         {std::tuple("none", true, "open pic | | ", "open pic | bg | "),
          {"img", true, "open | | ", "open pic | bg img | "},
          {"img", false, "open | | ", "open | bg img | image uri; "},
          {"none", false, "open | | ", "open | bg img | image uri; "},
          {"none", true, "open | | ", "open pic | bg img | "}}) {
      host.files.remove(host.files.cachesDirectory() + "/p_" + evicted);
      isOnline = online;
      if (refill) {
        refill();
        EXPECT_EQ(state(), before) << evicted << online;
      }
      refill ? host.queues.runAll() : foreground();
      EXPECT_EQ(state(), after) << evicted << online;
    }
  }
}

}  // namespace
}  // namespace lumora::tests
