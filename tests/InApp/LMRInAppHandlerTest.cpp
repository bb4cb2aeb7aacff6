#include "lumora/InApp/LMRInAppHandler.h"

#include <future>
#include <thread>

#include "lumora/InApp/LMRInAppViewController.h"
#include "lumora/Util/CallGate.h"
#include "tests/Facade/LumoraFixture.h"
#include "tests/Facade/NoticeList.h"
#include "tests/InApp/Campaigns.h"

namespace lumora::tests {
namespace {

/// A screen that notes what is done with it, and keeps its message as a host's may. One of them is presented
/// at a time, and kept then. The root screen serves as the layout too: it makes the others.
class Screen : public LMRInAppViewController, public LayoutResource {
 public:
  ~Screen() override { ends += platform().queues.isMainThread() ? "main " : "elsewhere "; }
  void setModalPresentationStyle(ModalPresentationStyle s) override { note("style", static_cast<int>(s)); }
  void presentViewController(std::shared_ptr<ViewController> screen, bool animated) override {
    presented = std::static_pointer_cast<Screen>(screen);
    note(presented->notes + "; presents", animated);
  }
  void dismiss(bool animated) override {
    note("dismissed", animated);
    presented.reset();
  }
  void setInapp(std::shared_ptr<LMRInAppMessage> message) override {
    notes = *message->getCampaignId();
    inapp = std::move(message);
  }
  std::shared_ptr<ViewController> instantiateViewController(std::string_view identifier) override {
    return identifier == "LMRInAppViewControllerPop" ? std::make_shared<Screen>() : nullptr;
  }
  void note(const std::string& what, int how) { notes += " " + what + " " + std::to_string(how); }

  static inline std::string ends;
  std::string notes;
  std::shared_ptr<LMRInAppMessage> inapp;
  static inline std::shared_ptr<Screen> presented;
  LMRTappable element;
};

class LMRInAppHandlerTest : public LumoraTest {
 protected:
  LMRInAppHandlerTest() {
    host.bundle.setResource("LMRResources.bundle", "resources");
    host.bundle.setLayout("resources", "LMRInApp", root);
    host.application.setRootViewController(root);
  }

  static void offer(const std::string& changes = "") {
    saveCampaign(changes);
    LMRInAppHandler::sharedInstance().refill();
  }

  /// What an event does to the root screen, with what it did to the new one before; "" when it shows nothing.
  std::string event(const std::string& name) {
    logger().reportCheckpoint(name, "custom", std::nullopt);
    root->notes.clear();
    host.queues.runMainQueue();
    return root->notes;
  }

  LMRInAppHandler& handler = LMRInAppHandler::sharedInstance();
  const std::shared_ptr<Screen> root = std::make_shared<Screen>();
};

TEST_F(LMRInAppHandlerTest, TriggerShowsOneCampaignUntilItIsTapped) {
  offer();
  offer(R"(cid="c2";display_trigger="other")");
  std::string shown;
  for (const char* name : {"none", "open", "open", "other"}) shown += event(name);
  EXPECT_EQ(shown, " c1 style 4; presents 1");
  EXPECT_EQ(logWith("[LMRInAppMessage show]"),
            Texts{"LumoraFramework--[LMRInAppMessage show]_block_invoke [Line 340] showing campaign c1"});
  const auto screen = std::static_pointer_cast<Screen>(handler.message()->inAppViewController());
  LMRTappable view{"c1", 1, 102, screen, "acme.example/a"};
  handler.tapGestureRecognizer().attachTo(&view);
  handler.tapGestureRecognizer().recognize();
  EXPECT_TRUE(host.application.openedURLs().empty()) << "that is the main queue's";
  EXPECT_EQ(view.lmrMessage.expired() ? screen->notes : "", "c1 style 4 dismissed 0");
  EXPECT_NE(storedEvents().back().find(R"("inapp":{"cid":"c1","subtype":"tapped"})"), std::string::npos);
  logger().reportCheckpoint("other", "custom", std::nullopt);
  handler.setOnScreen(false);
  // Two screens of one message wait in the main queue, each to be presented once.
  EXPECT_EQ(event("other"), " c2 style 4; presents 1 c2 style 4; presents 1");
  EXPECT_EQ(host.application.openedURLs().at(0).absoluteString(), "http://acme.example/a");
}

TEST_F(LMRInAppHandlerTest, WithoutConsentATapOnlyDismisses) {
  offer();
  event("open");
  const auto screen = std::static_pointer_cast<Screen>(handler.message()->inAppViewController());
  const Texts before = storedEvents();
  CallGate::close(Closed::withoutConsent);
  LMRTappable view{"c1", 1, 102, screen, "acme.example/a"};
  handler.processAction(view);
  EXPECT_EQ(event("open"), "") << "nothing is shown either";
  EXPECT_EQ(screen->notes, "c1 style 4 dismissed 0");
  EXPECT_TRUE(host.application.openedURLs().empty());
  EXPECT_EQ(storedEvents().size(), before.size() + 1) << "what was called before is still recorded";
  EXPECT_FALSE(handler.onScreen());
}

TEST_F(LMRInAppHandlerTest, SystemVersionsAndMissingParts) {
  offer();
  const auto firstAndSecondEvent = [this] {
    handler.setOnScreen(false);
    return event("open") + event("open");
  };
  for (const char* version : {"7.1", "8", "10"}) {
    host.device.systemVersionText = version;
    EXPECT_EQ(firstAndSecondEvent(), *version == '7' ? " style 3 c1; presents 1" : " c1 style 4; presents 1");
  }
  host.application.setRootViewController(nullptr);
  EXPECT_EQ(firstAndSecondEvent(), "");
  host.bundle.setLayout("resources", "LMRInApp", nullptr);
  EXPECT_EQ(firstAndSecondEvent(), "");
  host.bundle.setResource("LMRResources.bundle", std::nullopt);
  EXPECT_EQ(firstAndSecondEvent(), "");
  EXPECT_EQ(logWith("LumoraSDK-").size(), 2U) << "one line for each of the latter two";
}

TEST_F(LMRInAppHandlerTest, TapsByFrequencyAndButtonType) {
  const auto state = [this] {
    return storedCampaigns() + (handler.lmrInappEvents()->contains("open") ? " offered" : "");
  };
  const std::string ready = "c1 1/0 offered";
  const std::tuple<const char*, int, int, std::string, std::string> cases[] = {
      {"everytime", 1, 102, ready, ready},
      {"once_per_session", 2, 101, "c1 0/0", ready},
      {"everytime_until_cta", 3, 101, ready, ready},
      {"everytime_until_cta", 3, 102, "c1 -1/0", "c1 -1/0"},
      {"once_per_session_until_cta", 4, 101, ready, ready},
      {"once_per_session_until_cta", 4, 102, "c1 0/0", ready},
      {"once", 5, 101, "<null>", "<null>"},
      {"never heard of", 0, 102, ready, ready},
  };
  for (const auto& [name, code, type, afterTap, afterSession] : cases) {
    offer(std::string("display_frequency=\"") + name + '"');
    EXPECT_EQ(handler.lmrInappEvents()->at("open")->closeButton()->frequency(), code);
    LMRTappable button{"c1", code, type, {}, type == 101 ? std::optional("close") : std::nullopt};
    handler.buttonAction(button);
    logger().startSession("another");
    EXPECT_EQ(state(), afterTap) << name << type;
    logger().startSession("lmr_app_session");
    EXPECT_EQ(state(), afterSession) << name << type;
    logger().discardAllSessions();
  }
  EXPECT_EQ(host.queues.pendingMainCount(), 0U) << "no link is opened";
}

TEST_F(LMRInAppHandlerTest, ScreensEndOnTheMainThreadTheirElementsWithThem) {
  const auto endsAfterTap = [this] {
    LMRTappable& element = Screen::presented->element;
    element = {"c1", 5, 102, Screen::presented, "acme.example/a"};
    handler.buttonAction(element);
    return Screen::ends;
  };
  root->presentViewController(std::make_shared<Screen>(), false);  // None of the library's.
  EXPECT_EQ(endsAfterTap(), "main ");
  offer(R"(display_frequency="once")");
  event("open");
  const std::weak_ptr<LMRInAppMessage> message = handler.message();
  EXPECT_EQ(endsAfterTap(), "main main ");
  event("none");
  EXPECT_TRUE(message.expired()) << "though its screen kept it";
  EXPECT_EQ(host.application.openedURLs().size(), 2U);
  offer();
  event("open");
  const auto shown = handler.message();
  lumora().serialQueue().async([last = shown->inAppViewController()]() mutable { last.reset(); });
  Screen::presented.reset();
  host.queues.runSerialQueues();
  EXPECT_EQ(Screen::ends, "main main ");
  host.queues.runMainQueue();
  EXPECT_EQ(Screen::ends, "main main main ");
  EXPECT_FALSE(shown->inAppViewController());
}

TEST_F(LMRInAppHandlerTest, SyncsEventsSessionsAndTapsAtOnce) {
  constexpr std::size_t rounds = 20;
  const auto repeat = [](const auto& action) {
    for (std::size_t round = 0; round < rounds; ++round) action();
  };
  std::thread sync(repeat, [] { offer(); });
  std::thread events(repeat, [] { logger().reportCheckpoint("open", "custom", std::nullopt); });
  std::thread sessions(repeat, [this] { handler.currentSession("lmr_app_session"); });
  int frequency = 0;
  repeat([&] {
    host.queues.runMainQueue();
    const auto shown = handler.message();
    const auto screen = shown ? shown->inAppViewController() : nullptr;
    LMRTappable button{"c1", ++frequency % 6, 102, screen, "close"};
    handler.buttonAction(button);
  });
  for (std::thread* thread : {&sync, &events, &sessions}) thread->join();
  EXPECT_EQ(storedEvents().size(), 1 + 2 * rounds);
}

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
    resync(10);
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
      campaignWithPictures(R"(cid="p";display_trigger="pic";layout/type="layout2";layout/secondary_button;)"
                           R"(display_frequency="once_per_session_until_cta")");
  bool isOnline = true;
  std::string fetched;
  std::vector<std::future<void>> others;
};

TEST_F(CampaignPicturesTest, TapsAndEventsLeaveThemToTheQueueAndSessionsFetchThemFirst) {
  // The background's picture never comes; it has a colour, and is tried once more by each refill.
  EXPECT_EQ(state(), "open pic | bg img b1 bg | ");
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
         {std::tuple(false, true, "open pic | | ", "open pic | bg | "),
          {true, true, "open | | ", "open pic | bg img b1 | "},
          {true, false, "open | | ", "open | bg img | image uri; "},
          {false, false, "open | | ", "open | bg img | image uri; "},
          {false, true, "open | | ", "open pic | bg img b1 | "}}) {
      for (const char* name : {"/p_img", "/p_b1"})
        if (evicted) host.files.remove(host.files.cachesDirectory() + name);
      isOnline = online;
      if (refill) {
        refill();
        EXPECT_EQ(state(), before) << evicted << online;
        host.queues.runAll();
      } else {
        logger().discardAllSessions();
        LMRDataManager::sharedInstance().updateResource(
            LMRResource::initWithCampaignId("p", 0, LMRResource::unchanged));
        lumora().appWillEnterForeground();
        lumora().serialQueue().sync([] {});
      }
      EXPECT_EQ(state(), after) << evicted << online;
    }
  }
  resync(10);  // The session is open.
  EXPECT_EQ(state(), "open pic | | ");
}

TEST_F(CampaignPicturesTest, OneThatIsAbortedIsNoFaultOfItsCampaign) {
  const auto service = [this](const URLRequest&) { return URLResponse{200, {}, syncAnswer, {}}; };
  for (const bool isDenied : {false, true}) {
    LMRDataManager::sharedInstance().clearCampaigns({"p"});
    host.urlLoader.setHandler([&](const URLRequest& request) {
      if (!request.url.starts_with("https://i.example/")) return service(request);
      if (isDenied) lumora().setTrackingConsent(Consent::denied);
      return URLResponse{0, {}, "", TransportError{std::string(kURLErrorDomain), kURLErrorCancelled, ""}};
    });
    state();
    resync(10);
    EXPECT_EQ(state(), "open | | ") << isDenied;
    EXPECT_EQ(storedCampaigns(), "p 1/0, c1 1/0") << isDenied;
    EXPECT_EQ(host.queues.pendingCount(), 0U);

    host.urlLoader.setHandler([&](const URLRequest& request) {
      const bool isPicture = request.url.starts_with("https://i.example/");
      return isPicture ? URLResponse{200, {}, "image", {}} : service(request);
    });
    lumora().setTrackingConsent(Consent::granted);
    handler.refill();
    host.queues.runAll();
    EXPECT_EQ(state(), "open pic | | ") << isDenied;
  }
}

TEST_F(LMRInAppHandlerTest, TheHostsObserverIsToldOfEachMessage) {
  const auto observer = std::make_shared<NoticeList>();
  lumora().setObserver(observer);
  offer();
  EXPECT_NE(event("open"), "");
  const auto screen = handler.message()->inAppViewController();
  LMRTappable view{"c1", 1, 102, screen, "close"};
  handler.processAction(view);
  read(plainCampaign("end_time"));
  host.queues.runAll();
  EXPECT_EQ(observer->notices, (Texts{"shown c1", "dismissed c1", "dropped c1 end_time"}));
}

}  // namespace
}  // namespace lumora::tests
