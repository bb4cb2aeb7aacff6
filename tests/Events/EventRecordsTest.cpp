#include <functional>
#include <limits>

#include "lumora/Events/EventKeys.h"
#include "lumora/Facade/LumoraConstants.h"
#include "lumora/Storage/OstrelSQLiteManager.h"
#include "tests/Facade/LumoraFixture.h"

namespace lumora::tests {
namespace {

class EventRecordsTest : public LumoraTest {
 protected:
  /// From here on an event makes its own row only.
  void leaveOutClientInformation() { host.settings.setObject(kLmroInit, true); }
};

constexpr const char* deviceState =
    R"({"hardware":{"screen":{"device_type":"iPhone","screen-size":"iPhone"}},"manufacturer":"Apple",)"
    R"("model":"iPhone","network_info":{"network_operator":"No network"},"new_install":false,)"
    R"("software":{"language":"en-US","locale":"en_US","sdk":"10.3"}})";

TEST_F(EventRecordsTest, everyKindHasItsFields) {
  leaveOutClientInformation();
  const struct {
    std::function<void(LMREventLogger&)> report;
    std::string fields;
  } cases[] = {
      {[](auto& l) { l.reportCheckpoint("level", KEY_TYPE_CUSTOM, std::nullopt); },
       R"("event_type":"checkpoint","name":"level","timestamp":1496318400,"type":"custom")"},
      {[](auto& l) { l.reportCheckpoint("level", KEY_TYPE_CUSTOM, Dictionary()); },
       R"("event_type":"checkpoint","metadata":{},"name":"level","timestamp":1496318400,"type":"custom")"},
      {[](auto& l) {
         l.reportCheckpoint("level", KEY_TYPE_CUSTOM,
                            Dictionary{{"Action Metric", 12.5}, {"more", List{1, true, nullptr, "x"}}});
       },
       R"("event_type":"checkpoint","metadata":{"Action Metric":12.5,"more":[1,true,null,"x"]},)"
       R"("name":"level","timestamp":1496318400,"type":"custom")"},
      {[](auto& l) { l.reportCheckpoint("it's \"été\"\n", KEY_TYPE_CUSTOM, std::nullopt); },
       R"("event_type":"checkpoint","name":"it's \"été\"\n","timestamp":1496318400,"type":"custom")"},
      {[](auto& l) { l.reportAppOpen(); },
       R"("event_type":"checkpoint","name":"lmr_app_open","timestamp":1496318400,"type":"internal")"},
      {[](auto& l) { l.reportClientInfo(); },
       R"("device_state":)" + std::string(deviceState) + R"(,"event_type":"init","timestamp":1496318400)"},
      {[](auto& l) {
         l.reportUserAttributes({{"email", "ada@example.com"}, {"plan", "gold"}});
       },
       R"("event_type":"user","timestamp":1496318400,"user":{"email":"ada@example.com","plan":"gold"})"},
      {[](auto& l) { l.reportUserAttributes({}); },
       R"("event_type":"user","timestamp":1496318400,"user":{})"},
      {[](auto& l) { l.reportPushToken("ab12"); },
       R"("event_type":"push","push":{"push_token":"ab12","subtype":"init"},"timestamp":1496318400)"},
      {[](auto& l) { l.clearPushToken(); },
       R"("event_type":"push","push":{"subtype":"unregister","type":"internal"},"timestamp":1496318400)"},
      {[](auto& l) { l.reportPushOpened("c-7"); },
       R"("event_type":"push","push":{"cid":"c-7","subtype":"opened"},"timestamp":1496318400)"},
      {[](auto& l) { l.reportPushOpened(7); },
       R"("event_type":"push","push":{"cid":7,"subtype":"opened"},"timestamp":1496318400)"},
      {[](auto& l) { l.reportPushDelivered("c-7"); },
       R"("event_type":"push","push":{"cid":"c-7","subtype":"delivered"},"timestamp":1496318400)"},
      {[](auto& l) { l.reportInappWithSubType("tapped", "c-7"); },
       R"("event_type":"inapp","inapp":{"cid":"c-7","subtype":"tapped"},"timestamp":1496318400)"},
      {[](auto& l) { l.reportInappWithSubType("tapped", std::nullopt); },
       R"("event_type":"inapp","timestamp":1496318400)"},
      {[](auto& l) { l.reportInappWithSubType(std::nullopt, "c-7"); },
       R"("event_type":"inapp","timestamp":1496318400)"},
  };
  for (const auto& test : cases) {
    test.report(logger());
    EXPECT_EQ(storedEvents(), Texts{"{" + test.fields + "}"});
    LMRDataManager::sharedInstance().cleanUpAppEvents();
  }
  EXPECT_EQ(log(), Texts());
}

TEST_F(EventRecordsTest, timestampIsAWholeSecondOf32Bits) {
  const struct {
    double now;
    std::int64_t timestamp;
  } cases[] = {
      {0, 0},
      {0.999999, 0},
      {1496318400.75, 1496318400},
      {-0.5, 0},
      {-1.5, -1},
      {2147483647.9, 2147483647},
      {2147483648, 2147483647},
      {1e12, 2147483647},
      {-2147483648.5, -2147483648},
      {-1e12, -2147483648},
  };
  for (const auto& test : cases) {
    setNow(test.now);
    const Dictionary skeleton = logger().getEventSkeleton("kind");
    EXPECT_EQ(writeJSON(skeleton),
              R"({"event_type":"kind","timestamp":)" + std::to_string(test.timestamp) + "}")
        << "at " << test.now;
  }
}

TEST_F(EventRecordsTest, clientInformationIsStoredOnceAheadOfTheFirstEvent) {
  const auto kinds = [] {
    Texts found;
    for (const std::string& event : storedEvents()) {
      found.push_back(parseJSON(event)->asDictionary()->at("event_type").description());
    }
    return found;
  };
  logger().clearPushToken();
  EXPECT_EQ(kinds(), (Texts{"init", "push"}));
  EXPECT_EQ(host.settings.flushedValues()["lmro.InitReport"], Value(true));
  logger().clearPushToken();
  EXPECT_EQ(kinds(), (Texts{"init", "push", "push"}));
  host.settings.setObject("lmro.InitReport", false);
  logger().reportUserAttributes({});
  logger().reportUserAttributes({});
  EXPECT_EQ(kinds(), (Texts{"init", "push", "push", "init", "user", "user"}));
}

TEST_F(EventRecordsTest, clientInformationTellsANewInstallation) {
  host.settings.setObject("lmro.NewUser", true);
  logger().reportClientInfo();
  EXPECT_NE(storedEvents().at(0).find(R"("new_install":true)"), std::string::npos);
  EXPECT_EQ(setting("lmro.InitReport"), "absent");
}

TEST_F(EventRecordsTest, whatIsNotJSONIsDroppedWhole) {
  leaveOutClientInformation();
  Value tooDeep = 1;
  for (int depth = 0; depth < 600; ++depth) tooDeep = List{tooDeep};
  const Value values[] = {
      std::numeric_limits<double>::quiet_NaN(),
      std::numeric_limits<double>::infinity(),
      List{1, -std::numeric_limits<double>::infinity()},
      "\xC3(",
      Date(),
      Data{1, 2},
      Value::Opaque{"UIImage", "<UIImage>"},
      tooDeep,
  };
  for (const Value& value : values) {
    logger().reportCheckpoint("bad", KEY_TYPE_CUSTOM, Dictionary{{"value", value}});
    EXPECT_EQ(storedEvents(), Texts()) << value.kindName() << " " << value.description();
  }
  logger().reportCheckpoint("\xFF", KEY_TYPE_CUSTOM, std::nullopt);
  EXPECT_EQ(storedEvents(), Texts());
  logger().reportCheckpoint("good", KEY_TYPE_CUSTOM, std::nullopt);
  EXPECT_EQ(storedEvents().size(), 1U);
}

TEST_F(EventRecordsTest, applicationOpensAreCountedWithoutAFlush) {
  leaveOutClientInformation();
  logger().reportAppOpen();
  logger().reportAppOpen();
  EXPECT_EQ(setting("lmr_app_open"), "2");
  EXPECT_FALSE(host.settings.flushedValues().contains("lmr_app_open"));
  EXPECT_EQ(storedEvents().size(), 2U);
  host.settings.setObject("lmr_app_open", "41");
  logger().reportAppOpen();
  EXPECT_EQ(setting("lmr_app_open"), "42");
}

TEST_F(EventRecordsTest, openedPushIsTakenFromTheLaunchOptions) {
  leaveOutClientInformation();
  constexpr const char* remoteNotification = "UIApplicationLaunchOptionsRemoteNotificationKey";
  const struct {
    std::optional<Dictionary> launchOptions;
    bool isReported;
  } cases[] = {
      {std::nullopt, false},
      {Dictionary(), false},
      {Dictionary{{"c", "c-7"}}, false},
      {Dictionary{{remoteNotification, Dictionary{{"c", "c-7"}}}}, false},
      {Dictionary{{remoteNotification, Dictionary()}, {"c", nullptr}}, false},
      {Dictionary{{remoteNotification, Dictionary()}, {"c", "c-7"}}, true},
  };
  for (const auto& test : cases) {
    logger().reportPushOpen(test.launchOptions);
    const Texts expected =
        test.isReported
            ? Texts{R"({"event_type":"push","push":{"cid":"c-7","subtype":"opened"},"timestamp":1496318400})"}
            : Texts();
    EXPECT_EQ(storedEvents(), expected)
        << (test.launchOptions ? writeJSON(*test.launchOptions).value() : "no options");
  }
}

TEST_F(EventRecordsTest, testPushTokenIsReportedOnlyOnATestDevice) {
  leaveOutClientInformation();
  constexpr const char* line = "LumoraSDK-Updating test device push token";
  logger().reportTestPushToken("ab12");
  host.settings.setObject("lmro.TestDevice", false);
  logger().reportTestPushToken("ab12");
  logger().reportPushToken("ab12");
  EXPECT_EQ(storedEvents().size(), 1U);
  EXPECT_EQ(log(), Texts());

  host.settings.setObject("lmro.TestDevice", true);
  LMRDataManager::sharedInstance().cleanUpAppEvents();
  logger().reportPushToken("ab12");
  EXPECT_EQ(storedEvents(),
            (Texts{R"({"event_type":"push","push":{"push_token":"ab12","subtype":"init"},)"
                   R"("timestamp":1496318400})",
                   R"({"event_type":"update_test_device","push_token":"ab12","timestamp":1496318400})"}));
  EXPECT_EQ(log(), Texts{line});
  logger().reportTestPushToken("");
  EXPECT_EQ(storedEvents().back(),
            R"({"event_type":"update_test_device","push_token":"","timestamp":1496318400})");
}

TEST_F(EventRecordsTest, fullQueueKeepsOnlyCrucialEvents) {
  leaveOutClientInformation();
  LMRDataManager& store = LMRDataManager::sharedInstance();
  OstrelSQLiteManager database("ostrelab.sqlite");
  const auto fill = [&](int count) {
    store.cleanUpAppEvents();
    database.doQuery(
        "INSERT INTO ostrel_events (event) WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n "
        "WHERE "
        "i < " +
        std::to_string(count) + ") SELECT '{\"event_type\":\"filler\"}' FROM n;");
  };
  const struct {
    const char* kind;
    std::function<void(LMREventLogger&)> report;
    bool isKept;
  } cases[] = {
      {"checkpoint", [](auto& l) { l.reportCheckpoint("a", KEY_TYPE_CUSTOM, std::nullopt); }, false},
      {"app open", [](auto& l) { l.reportAppOpen(); }, false},
      {"inapp", [](auto& l) { l.reportInappWithSubType("tapped", "c"); }, false},
      {"test device", [](auto& l) { l.saveEvent(l.getEventSkeleton(KEY_UPDATE_TEST_DEVICE)); }, false},
      {"other case", [](auto& l) { l.saveEvent(l.getEventSkeleton("Push")); }, false},
      {"push", [](auto& l) { l.clearPushToken(); }, true},
      {"user", [](auto& l) { l.reportUserAttributes({}); }, true},
      {"init", [](auto& l) { l.reportClientInfo(); }, true},
  };
  for (const auto& test : cases) {
    for (const int before : {998, 999, 1000}) {
      fill(before);
      host.log.clear();
      test.report(logger());
      const bool fits = before + 1 < MAX_CHECKPOINTS_COUNT;
      const auto kept = storedEvents().size() - static_cast<std::size_t>(before);
      EXPECT_EQ(kept, fits || test.isKept ? 1U : 0U) << test.kind << " after " << before;
      const bool isLogged = !fits && test.isKept;
      EXPECT_EQ(log(),
                isLogged ? Texts{"LumoraSDK-Event delete opration prevented, Can not delete crucial events ."}
                         : Texts())
          << test.kind << " after " << before;
    }
  }
}

}  // namespace
}  // namespace lumora::tests
