#include <functional>
#include <thread>

#include "lumora/Events/EventKeys.h"
#include "lumora/Util/LMRUtil.h"
#include "tests/Facade/LumoraFixture.h"
#include "tests/Storage/SQLiteConnection.h"

namespace lumora::tests {
namespace {

class EventRecordsTest : public LumoraTest {
 protected:
  /// From here on an event makes its own row only.
  void leaveOutClientInformation() { host.settings.setObject(kLmroInit, true); }

  static Texts storedKinds() {
    Texts kinds;
    for (const std::string& event : storedEvents())
      kinds.push_back(parseJSON(event)->asDictionary()->at("event_type").description());
    return kinds;
  }

  /// The record with these fields, made at the start second.
  static std::string record(std::string_view fields) {
    Dictionary event = *parseJSON(fields)->asDictionary();
    event.emplace("timestamp", startSecond);
    return writeJSON(event).value();
  }
};

TEST_F(EventRecordsTest, everyKindHasItsFields) {
  leaveOutClientInformation();
  using Report = std::function<void(LMREventLogger&)>;
  const std::pair<Report, std::string> cases[] = {
      {[](auto& l) { l.reportCheckpoint("level", KEY_TYPE_CUSTOM, std::nullopt); },
       R"({"event_type":"checkpoint","name":"level","type":"custom"})"},
      {[](auto& l) { l.reportCheckpoint("level", KEY_TYPE_CUSTOM, Dictionary()); },
       R"({"event_type":"checkpoint","metadata":{},"name":"level","type":"custom"})"},
      {[](auto& l) {
         l.reportCheckpoint("level", "t", Dictionary{{"a", 12.5}, {"b", List{true, nullptr}}});
       },
       R"({"event_type":"checkpoint","metadata":{"a":12.5,"b":[true,null]},"name":"level","type":"t"})"},
      {[](auto& l) { l.reportAppOpen(); },
       R"({"event_type":"checkpoint","name":"lmr_app_open","type":"internal"})"},
      {[](auto& l) { l.reportClientInfo(); },
       R"({"event_type":"init","device_state":)" + writeJSON(LMRUtil::deviceState()).value() + "}"},
      {[](auto& l) {
         l.reportUserAttributes({{"plan", "gold"}});
       },
       R"({"event_type":"user","user":{"plan":"gold"}})"},
      {[](auto& l) { l.reportUserAttributes({}); }, R"({"event_type":"user","user":{}})"},
      {[](auto& l) { l.reportPushToken("ab12"); },
       R"({"event_type":"push","push":{"push_token":"ab12","subtype":"init"}})"},
      {[](auto& l) { l.clearPushToken(); },
       R"({"event_type":"push","push":{"subtype":"unregister","type":"internal"}})"},
      {[](auto& l) { l.reportPushOpened(7); },
       R"({"event_type":"push","push":{"cid":7,"subtype":"opened"}})"},
      {[](auto& l) { l.reportPushDelivered("c"); },
       R"({"event_type":"push","push":{"cid":"c","subtype":"delivered"}})"},
      {[](auto& l) { l.reportInappWithSubType("tapped", "c"); },
       R"({"event_type":"inapp","inapp":{"cid":"c","subtype":"tapped"}})"},
      {[](auto& l) { l.reportInappWithSubType("tapped", std::nullopt); }, R"({"event_type":"inapp"})"},
      {[](auto& l) { l.reportInappWithSubType(std::nullopt, "c"); }, R"({"event_type":"inapp"})"},
  };
  for (const auto& [report, fields] : cases) {
    report(logger());
    EXPECT_EQ(storedEvents(), Texts{record(fields)});
    LMRDataManager::sharedInstance().cleanUpAppEvents();
  }
  EXPECT_EQ(log(), Texts());
}

TEST_F(EventRecordsTest, timestampIsAWholeSecondOf32Bits) {
  const std::pair<double, long> cases[] = {
      {0, 0},    {0.999999, 0}, {1496318400.75, 1496318400},  {2147483647.9, 2147483647}, {1e12, 2147483647},
      {-0.5, 0}, {-1.5, -1},    {-2147483648.5, -2147483648}, {-1e12, -2147483648}};
  for (const auto& [now, timestamp] : cases) {
    setNow(now);
    EXPECT_EQ(writeJSON(logger().getEventSkeleton("kind")),
              R"({"event_type":"kind","timestamp":)" + std::to_string(timestamp) + "}")
        << "at " << now;
  }
}

TEST_F(EventRecordsTest, clientInformationIsStoredOnceAheadOfTheFirstEvent) {
  host.settings.setObject("lmro.NewUser", true);
  logger().clearPushToken();
  EXPECT_EQ(storedKinds(), (Texts{"init", "push"}));
  EXPECT_NE(storedEvents().at(0).find(R"("new_install":true)"), std::string::npos);
  EXPECT_EQ(host.settings.flushedValues()["lmro.InitReport"], Value(true));
  logger().clearPushToken();
  host.settings.setObject("lmro.InitReport", false);
  host.settings.setIgnoresWrites(true);  // Once has to be enough where the settings cannot keep that.
  for (int event = 0; event < 3; ++event) logger().reportUserAttributes({});
  EXPECT_EQ(storedKinds(), (Texts{"init", "push", "push", "init", "user", "user", "user"}));
}

TEST_F(EventRecordsTest, whoWaitsForTheDatabaseHoldsUpNoOtherThread) {
  storedEvents();
  SQLiteConnection other(host.files.documentsDirectory() + "/ostrelab.sqlite");
  other.run("BEGIN EXCLUSIVE");
  host.queues.setMainThread(false);
  int pauses = 0;
  host.clock.setSleepHook([&](std::chrono::milliseconds) {
    std::thread([] { logger().discardAllSessions(); }).join();
    if (++pauses == 3) other.run("ROLLBACK");
  });
  EXPECT_TRUE(logger().startAppSession());
  EXPECT_EQ(pauses, 3);
  EXPECT_EQ(storedKinds(), (Texts{"init", "checkpoint"}));
}

TEST_F(EventRecordsTest, applicationOpensAreCountedWithoutAFlush) {
  leaveOutClientInformation();
  logger().reportAppOpen();
  logger().reportAppOpen();
  EXPECT_EQ(setting("lmr_app_open"), "2");
  EXPECT_FALSE(host.settings.flushedValues().contains("lmr_app_open"));
  host.settings.setObject("lmr_app_open", "41");
  logger().reportAppOpen();
  EXPECT_EQ(setting("lmr_app_open"), "42");
  host.settings.setRefusesChanges(true);
  EXPECT_NO_THROW(logger().reportAppOpen());
}

TEST_F(EventRecordsTest, openedPushIsTakenFromTheLaunchOptions) {
  leaveOutClientInformation();
  const Dictionary notification{{"c", "c-7"}};
  constexpr const char* key = "UIApplicationLaunchOptionsRemoteNotificationKey";
  const std::optional<Dictionary> cases[] = {std::nullopt,
                                             Dictionary(),
                                             notification,
                                             Dictionary{{key, notification}},
                                             Dictionary{{key, Dictionary()}, {"c", nullptr}},
                                             Dictionary{{key, Dictionary()}, {"c", "c-7"}}};
  for (const auto& launchOptions : cases) {  // Only the last has all that is needed.
    EXPECT_EQ(storedEvents(), Texts());
    logger().reportPushOpen(launchOptions);
  }
  EXPECT_EQ(storedEvents(),
            Texts{record(R"({"event_type":"push","push":{"cid":"c-7","subtype":"opened"}})")});
}

TEST_F(EventRecordsTest, testPushTokenIsReportedOnlyOnATestDevice) {
  leaveOutClientInformation();
  logger().reportTestPushToken("ab12");
  logger().reportPushToken("ab12");
  EXPECT_EQ(storedEvents().size(), 1U);
  EXPECT_EQ(log(), Texts());

  host.settings.setObject("lmro.TestDevice", true);
  logger().reportPushToken("ab12");
  EXPECT_EQ(storedEvents().size(), 3U);
  EXPECT_EQ(storedEvents().back(), record(R"({"event_type":"update_test_device","push_token":"ab12"})"));
  EXPECT_EQ(log(), Texts{"LumoraSDK-Updating test device push token"});
}

}  // namespace
}  // namespace lumora::tests
