#include "tests/Facade/LumoraFixture.h"

namespace lumora::tests {
namespace {

const std::string foregroundLine = "LumoraSDK-Received notification while app is in foreground, ";

class PushTest : public LumoraTest {
 protected:
  static Dictionary object(std::string_view json) { return *parseJSON(json)->asDictionary(); }
  static std::string push(const std::string& content) {
    return R"({"event_type":"push","push":{)" + content + R"(},"timestamp":1496318400})";
  }
  static std::string opened(const std::string& id) {
    return push(R"("cid":)" + id + R"(,"subtype":"opened")");
  }

  /// Handles a payload that comes in this state of the application, whatever the state afterwards.
  void handle(const Dictionary& payload, ApplicationState state = ApplicationState::inactive) {
    host.application.setState(state);
    lumora().handlePushNotification(payload);
    host.application.setState(ApplicationState::active);
    host.queues.runAll();
  }

  /// What was told to developers, uploaded and opened since the last call.
  Texts happened() {
    Texts found = logWith("LumoraSDK-");
    std::erase(found, "LumoraSDK-Reported all data successfully.");
    for (const auto& r : host.urlLoader.requests())
      std::ranges::copy(lines(r.body), std::back_inserter(found));
    const auto urls = host.application.openedURLs();
    for (; urlsSeen_ < urls.size(); ++urlsSeen_) found.push_back(urls[urlsSeen_].absoluteString());
    forget();
    return found;
  }

  std::size_t urlsSeen_ = 0;
};

TEST_F(PushTest, tokensAreRegisteredOnceAsHexadecimalText) {
  initialise();
  const std::string asked = "LumoraSDK-registering push token";
  lumora().registerPushDeviceToken(std::nullopt);
  lumora().registerPushDeviceToken(Data());
  EXPECT_EQ(happened(), (Texts{asked, asked}));
  const Data tokens[] = {{0}, {0x0A, 0xFF}, Data(32, 0xBB), Data(4096, 0x11)};
  const Texts texts{"00", "0aff", std::string(64, 'b'), std::string(8192, '1')};
  for (std::size_t i = 0; i < texts.size(); ++i) {
    lumora().registerPushDeviceToken(tokens[i]);
    EXPECT_EQ(host.settings.flushedValues().at("lmro.Token"), Value(texts[i]));
    host.queues.runAll();
    const std::string sent = push(R"("push_token":")" + texts[i] + R"(","subtype":"init")");
    EXPECT_EQ(happened(), (Texts{asked, "LumoraSDK-registered push_token successfully", sent}));
    lumora().registerPushDeviceToken(tokens[i]);
    EXPECT_EQ(happened(), (Texts{asked, "LumoraSDK-Push token already registered"}));
  }
  lumora().unregisterPushDeviceToken();  // On this thread, without a line.
  EXPECT_EQ(happened(), Texts{push(R"("subtype":"unregister","type":"internal")")});
  EXPECT_FALSE(lumora().isPushRegistered());
  EXPECT_FALSE(host.settings.flushedValues().contains("lmro.Token"));
}

TEST_F(PushTest, payloadsAreHandledByStateVersionAndOrigin) {
  initialise();
  const std::string received = "LumoraSDK-Received a push notification from Lumora";
  const std::string action = "LumoraSDK-Tap action found, launching it";
  const std::string noAction = "LumoraSDK-Launching application no tap action specified";
  const std::string untracked = "LumoraSDK-Received invalid push notification from Lumora- {cid = <null>}";
  const std::pair<const char*, Texts> cases[] = {
      {"{}", {}},
      {R"({"vs":null,"aps":{"alert":"a"}})", {}},
      {R"({"vs":["cid"]})", {received, "LumoraSDK-Invalid notification payload"}},
      {R"({"vs":{"cid":null},"aps":5})", {received, untracked, noAction}},
      {R"({"vs":{"cid":"c","a":"a.b"},"aps":{}})", {received, action, opened(R"("c")"), "http://a.b"}},
      {R"({"vs":{"cid":7,"a":""},"aps":{"alert":{"body":"b"}}})", {received, noAction, opened("7")}},
      {R"({"vs":{"cid":["c"],"a":5},"aps":{"alert":null}})", {received, noAction, opened(R"(["c"])")}}};
  for (std::size_t i = 0; i < 18; ++i) {
    host.device.systemVersionText = Texts{"9.3", "10", "10.0.1"}[i / 3 % 3];
    const Texts copied =
        i < 3 ? Texts{received} : Texts{received, foregroundLine + "scheduling a local notification!"};
    for (const auto& [json, tapped] : cases) {
      Dictionary payload = object(json);
      payload["checked"] = i < 9 ? Value() : Value("checked");
      handle(payload, static_cast<ApplicationState>(i % 3));
      const bool isCopied = i % 3 == 0 && i < 9 && payload["vs"].asDictionary();
      EXPECT_EQ(happened(), isCopied ? copied : tapped) << json << " in case " << i;
    }
  }
}

TEST_F(PushTest, actionsAreOpenedAsURLs) {
  const auto open = [this](const std::string& action) {
    handle({{"vs", Dictionary{{"a", action}}}});
    return happened().back();
  };
  EXPECT_EQ(open("file:///etc/passwd"), "file:///etc/passwd");
  EXPECT_EQ(open("mailto:a@b.co"), "http://mailto:a@b.co");
  for (const char* bad : {"javascript:alert(1)", "a b", " http://a", "a/\n", "a/\x01", "é.b", "a/%zz"})
    EXPECT_EQ(open(bad), "LumoraSDK-Failed to launch action due to NULL url") << bad;
  host.application.setRefusesURLs(true);
  handle(object(R"({"vs":{"a":"no.where"}})"));
  EXPECT_EQ(log().back(), "LumoraSDK-Failed to launch action:http://no.where");
}

TEST_F(PushTest, foregroundCopiesCarryThePayload) {
  const Dictionary payload = object(R"({"vs":{"cid":"c"},"aps":{"alert":"KEY"}})");
  host.bundle.setLocalizedString("KEY", "text");
  host.application.setIconBadgeNumber(4);
  handle(payload, ApplicationState::active);
  const NotificationRequest request = host.notifications.requests().at(0);
  EXPECT_EQ(request.identifier + ' ' + request.categoryIdentifier + ' ' + request.body.description(),
            "com.lumora.localnotification com.lumora.localnotification text");
  EXPECT_EQ(request.userInfo, payload);
  EXPECT_EQ(std::pair(request.badge, request.delay), std::pair(5, 1.0));
  host.notifications.setError("no permission");
  handle(payload, ApplicationState::active);
  EXPECT_EQ(log().back(), foregroundLine + "could not schedule a local notification: no permission");
  host.device.systemVersionText = "9.3";
  handle(payload, ApplicationState::active);
  const LocalNotification copy = host.notifications.localNotifications().at(0);
  EXPECT_EQ(copy.fireDate, host.clock.now());
  EXPECT_EQ(copy.alertBody.value() + copy.category + copy.timeZone, "KEYINVITE_CATEGORYUTC");
  EXPECT_EQ(copy.userInfo, payload);
  EXPECT_TRUE(copy.defaultSound);
  // A response is a tap, although the application is active; its completion does not wait for the handling.
  std::size_t pending = 0;
  const auto complete = [&] { pending = host.queues.pendingCount(); };
  lumora().userNotificationCenterDidReceiveNotificationResponse({request}, complete);
  lumora().userNotificationCenterDidReceiveNotificationResponse({request}, nullptr);
  EXPECT_EQ(pending, 1U);
  host.queues.runAll();
  EXPECT_EQ(storedEvents().back(), opened(R"("c")"));
}

/// What a host or a forged notification may hold.
TEST_F(PushTest, unstorablePayloadsCostOnlyTheirOwnRecord) {
  Value deep = "inside";
  for (int i = 0; i < 10000; ++i) deep = Dictionary{{"in", deep}};
  for (const Value& bad : {deep, Value(HUGE_VAL), Value(MixedMap{{1, 2}})}) {
    handle({{"vs", bad}});
    handle({{"vs", Dictionary{{"cid", bad}, {"a", bad}}}});
    handle({{"vs", Dictionary{}}, {"aps", Dictionary{{"alert", bad}}}}, ApplicationState::active);
  }
  EXPECT_EQ(storedEvents().size(), 1U);  // The client information.
}

TEST_F(PushTest, launchOptionsAreTrackedByTheirKind) {
  initialise();
  const auto track = [this](const std::string& options, bool onMainThread = true) {
    host.queues.setMainThread(onMainThread);
    lumora().trackPushNotification(object(options));
    host.queues.runAll();
    return happened();
  };
  const std::string local = R"({"UIApplicationLaunchOptionsLocalNotificationKey":)";
  const std::string remote = R"({"UIApplicationLaunchOptionsRemoteNotificationKey":)";
  const std::string ours = R"({"vs":{"cid":"c","a":"a.b"}})";
  for (const std::string version : {"9.3.5", "10.3"}) {
    host.device.systemVersionText = version;
    Texts tracked{"LumoraSDK-Push notification opened, tracking user tap.", opened(R"("c")")};
    EXPECT_EQ(track(ours), tracked) << version;
    tracked.emplace_back("http://a.b");
    EXPECT_EQ(track(local + R"({"user_info":)" + ours + "}}"), tracked) << version;
    EXPECT_EQ(track(remote + ours + "}"), version == "10.3" ? Texts() : tracked);
    for (const auto& bad : {std::string("{}"), local + "{}}", local + R"({"user_info":5}})", remote + "5}"})
      EXPECT_EQ(track(bad), Texts()) << bad << version;
  }
  EXPECT_EQ(track(ours, false), Texts());  // The caller uploads.
  EXPECT_EQ(storedEvents(), Texts{opened(R"("c")")});
}

TEST_F(PushTest, localNotificationsAreOursFromTheirFirstSecondOn) {
  const auto isOurs = [this](int age, const char* body, const char* userInfo) {
    const Date fireDate = host.clock.now() - std::chrono::microseconds(age);
    lumora().applicationDidReceiveLocalNotification({fireDate, body, object(userInfo), "", "", false});
    return host.queues.pendingCount() > 0;
  };
  EXPECT_FALSE(isOurs(999999, "body", R"({"vs":{}})"));
  EXPECT_FALSE(isOurs(1000000, "", R"({"vs":{}})"));
  EXPECT_FALSE(isOurs(1000000, "body", R"({"vs":[]})"));
  EXPECT_TRUE(isOurs(1000000, "body", R"({"vs":{}})"));
}

}  // namespace
}  // namespace lumora::tests
