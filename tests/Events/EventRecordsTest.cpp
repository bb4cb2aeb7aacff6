#include <thread>

#include "lumora/Util/EventKeys.h"
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

/// The kinds whose records no other test reads back.
TEST_F(EventRecordsTest, everyKindHasItsFields) {
  leaveOutClientInformation();
  logger().reportClientInfo();
  logger().reportPushDelivered("c");
  logger().reportInappWithSubType("tapped", "c");
  logger().reportInappWithSubType("tapped", std::nullopt);
  logger().reportInappWithSubType(std::nullopt, "c");
  const std::string device = writeJSON(LMRUtil::deviceState()).value();
  EXPECT_EQ(storedEvents(),
            (Texts{record(R"({"event_type":"init","device_state":)" + device + "}"),
                   record(R"({"event_type":"push","push":{"cid":"c","subtype":"delivered"}})"),
                   record(R"({"event_type":"inapp","inapp":{"cid":"c","subtype":"tapped"}})"),
                   record(R"({"event_type":"inapp"})"), record(R"({"event_type":"inapp"})")}));
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
  const std::optional<Dictionary> cases[] = {
      std::nullopt, notification, {{{key, Dictionary()}, {"c", nullptr}}}, {{{key, 0}, {"c", "c-7"}}}};
  for (const auto& launchOptions : cases) {  // Only the last has all that is needed.
    EXPECT_EQ(storedEvents(), Texts());
    logger().reportPushOpen(launchOptions);
  }
  EXPECT_EQ(storedEvents(),
            Texts{record(R"({"event_type":"push","push":{"cid":"c-7","subtype":"opened"}})")});
}

TEST_F(EventRecordsTest, testPushTokenIsReportedOnlyOnATestDevice) {
  leaveOutClientInformation();
  logger().reportPushToken("ab12");
  EXPECT_EQ(storedEvents().size(), 1U);
  host.settings.setObject("lmro.TestDevice", true);
  logger().reportPushToken("ab12");
  EXPECT_EQ(storedEvents().size(), 3U);
  EXPECT_EQ(storedEvents().back(), record(R"({"event_type":"update_test_device","push_token":"ab12"})"));
  EXPECT_EQ(log(), Texts{"LumoraSDK-Updating test device push token"});
}

}  // namespace
}  // namespace lumora::tests
