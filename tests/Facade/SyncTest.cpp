#include "tests/Facade/LumoraFixture.h"

namespace lumora::tests {
namespace {

constexpr const char* enablingSecureMode = "LumoraSDK-Enabling a secure communication mode on this device.";
constexpr const char* enablingTestDevice = "LumoraSDK-Enabling a test device functionality on this device";

class SyncTest : public LumoraTest {
 protected:
  /// One resync, answered with these members besides the acceptance.
  void sync(const std::string& members) {
    syncAnswer = R"({"success":true)" + (members.empty() ? "" : "," + members) + "}";
    advance(10);
    forget();
    lumora().appWillEnterForeground();
    host.queues.runAll();
  }
  void syncConfig(const std::string& config) { sync(R"("config":)" + config); }

  std::string lastSyncPath() const {
    const Texts paths = requests();
    const auto last = std::ranges::find_if(paths.rbegin(), paths.rend(),
                                           [](const auto& path) { return path.starts_with("GET "); });
    return last == paths.rend() ? "none" : *last;
  }
};

TEST_F(SyncTest, stampOfTheLastAnswerIsSentBack) {
  initialise();
  const struct {
    const char* members;
    const char* sentBack;
  } cases[] = {
      {"", "0"},
      {R"("lst":1496318400)", "1496318400"},
      {"", "1496318400"},
      {R"("lst":null)", "1496318400"},
      {R"("lst":{})", "1496318400"},
      {R"("lst":[1])", "1496318400"},
      {R"("lst":12.5)", "12.5"},
      {R"("lst":0.1)", "0.1"},
      {R"("lst":1e-7)", "0.0000001"},
      {R"("lst":-3)", "-3"},
      {R"("lst":3.0)", "3"},
      {R"("lst":1496318400123)", "1496318400123"},
      {R"("lst":1e21)", "1000000000000000000000"},
      {R"("lst":9007199254740993)", "9007199254740992"},  // Kept as a double.
      {R"("lst":"17")", "17"},
      {R"("lst":true)", "1"},
      {R"("lst":0)", "0"},
  };
  for (const auto& test : cases) {
    sync(test.members);
    sync("");
    EXPECT_EQ(lastSyncPath(), std::string("GET /api/v1/sync/secret?lst=") + test.sentBack) << test.members;
  }
  sync(R"("lst":7)");
  EXPECT_TRUE(host.settings.object("lmro.Lst").isFloatingPoint());
}

TEST_F(SyncTest, blockIsTakenOverAndItsAbsenceStoredAsNone) {
  initialise();
  const struct {
    const char* members;
    bool isBlocked;
    const char* stored;
  } cases[] = {
      {"", false, "false"},
      {R"("blocked":true)", true, "true"},
      {"", true, "false"},  // This run's flag stays.
      {R"("blocked":null)", true, "false"},
      {R"("blocked":false)", false, "false"},
      {R"("blocked":1)", true, "true"},
      {R"("blocked":0)", false, "false"},
      {R"("blocked":"yes")", true, "true"},
      {R"("blocked":"no")", false, "false"},
  };
  for (const auto& test : cases) {
    sync(test.members);
    EXPECT_EQ(lumora().accountBlocked(), test.isBlocked) << test.members;
    EXPECT_EQ(setting("lmro.AcountBlocked"), test.stored) << test.members;
  }
  EXPECT_TRUE(lumora().sdkInitialized());
}

TEST_F(SyncTest, featuresFollowTheConfigurationAndAreToldWhenSwitchedOn) {
  initialise();
  const struct {
    const char* config;
    bool secureMode;
    bool testDevice;
    Texts enabling;
  } cases[] = {
      {R"({})", false, false, {}},
      {R"({"secure_mode":true})", true, false, {enablingSecureMode}},
      {R"({"secure_mode":true})", true, false, {}},
      {R"({"test_device":true})", false, true, {enablingTestDevice}},
      {R"({"secure_mode":1,"test_device":1})", true, true, {enablingSecureMode}},
      {R"({"secure_mode":0,"test_device":2.5})", false, true, {}},
      {R"({"secure_mode":null,"test_device":null})", false, false, {}},
      {R"({"secure_mode":"true","test_device":"Yes"})", true, true, {enablingSecureMode, enablingTestDevice}},
      {R"({"secure_mode":"false","test_device":"0"})", false, false, {}},
      {R"({"secure_mode":[true],"test_device":{"on":true}})", false, false, {}},
      {R"({"secure_mode":true,"test_device":true})", true, true, {enablingSecureMode, enablingTestDevice}},
      // What is no configuration changes nothing.
      {R"(null)", true, true, {}},
      {R"([false])", true, true, {}},
      {R"("off")", true, true, {}},
      {R"(0)", true, true, {}},
  };
  for (const auto& test : cases) {
    syncConfig(test.config);
    EXPECT_EQ(setting("lmro.secureMode"), test.secureMode ? "true" : "false") << test.config;
    EXPECT_EQ(setting("lmro.TestDevice"), test.testDevice ? "true" : "false") << test.config;
    EXPECT_EQ(logWith("Enabling"), test.enabling) << test.config;
  }
  sync("");
  EXPECT_EQ(setting("lmro.secureMode"), "true");
  EXPECT_EQ(setting("lmro.TestDevice"), "true");
}

TEST_F(SyncTest, newTestDeviceReportsItsPushTokenOnce) {
  initialise();
  constexpr const char* updating = "LumoraSDK-Updating test device push token";
  const auto event = [this](const std::string& token) {
    const auto now = static_cast<long>(secondsSince1970(host.clock.now()));
    return R"({"event_type":"update_test_device","push_token":")" + token + R"(","timestamp":)" +
           std::to_string(now) + "}";
  };
  syncConfig(R"({"test_device":true})");
  EXPECT_EQ(storedEvents(), Texts{event("")});
  EXPECT_EQ(logWith("est device"), (Texts{enablingTestDevice, updating}));
  LMRDataManager::sharedInstance().cleanUpAppEvents();
  syncConfig(R"({"test_device":true})");
  EXPECT_EQ(storedEvents(), Texts());
  syncConfig(R"({})");
  host.settings.setObject("lmro.Token", "ab12");
  syncConfig(R"({"test_device":true})");
  EXPECT_EQ(storedEvents(), Texts{event("ab12")});
}

TEST_F(SyncTest, timeoutIsStoredAsReceived) {
  initialise();
  const std::pair<const char*, const char*> cases[] = {
      {"{}", "absent"},
      {R"({"syncTimeOut":3})", "3"},
      {R"({"syncTimeOut":2.5})", "2.5"},
      {R"({"syncTimeOut":"7"})", R"("7")"},
      {R"({"syncTimeOut":null})", R"("7")"},
      {R"({"syncTimeOut":[1]})", R"("7")"},
      {R"({"syncTimeOut":{}})", R"("7")"},
      {R"({})", R"("7")"},
      {R"([3])", R"("7")"},
      {R"({"syncTimeOut":3600})", "3600"},
  };
  for (const auto& [config, stored] : cases) {
    syncConfig(config);
    EXPECT_EQ(setting("lmro.SyncTimeout"), stored) << config;
  }
}

TEST_F(SyncTest, campaignsAreCountedOnTheirOwnQueue) {
  initialise();
  const std::pair<const char*, const char*> cases[] = {
      {"", nullptr},
      {R"("inapp":null)", nullptr},
      {R"("inapp":{"cid":"c"})", nullptr},
      {R"("inapp":"c")", nullptr},
      {R"("inapp":3)", nullptr},
      {R"("inapp":[])", "0"},
      {R"("inapp":[{},{},{}])", "3"},
      {R"("inapp":[5,"x",null,[]])", "4"},
  };
  for (const auto& [members, count] : cases) {
    syncAnswer = std::string(R"({"success":true)") + (*members ? "," : "") + members + "}";
    advance(10);
    forget();
    lumora().appWillEnterForeground();
    lumora().serialQueue().sync([] {});
    EXPECT_EQ(host.queues.pendingCount(), 1U) << members;
    EXPECT_EQ(logWith("InAppMessages"), Texts()) << members;
    host.queues.runAll();
    EXPECT_EQ(logWith("InAppMessages"),
              count ? Texts{std::string("LumoraFramework--[Lumora "
                                        "parseResponseForBlockedAndFeatures:]_block_invoke [Line 265] "
                                        "Received ") +
                            count + " InAppMessages in sync call."}
                    : Texts())
        << members;
  }
}

TEST_F(SyncTest, minimumIntervals) {
  const struct {
    std::optional<double> elapsed;
    Value timeout;
    bool mayUpdate;
    bool mayReport;
  } cases[] = {
      {std::nullopt, nullptr, true, true},
      {0, nullptr, false, false},
      {4.5, nullptr, false, false},
      {5, nullptr, false, true},
      {9.5, nullptr, false, true},
      {10, nullptr, true, true},
      {-3600, nullptr, false, false},
      {3, 3, false, false},
      {4, 3, true, true},
      {4, 3600, false, false},
      {10, 3600, true, true},
      {7, 7, false, true},
      {7.5, "7", true, true},
      {7.5, 7.9, true, true},
      {0.5, 0, true, true},
  };
  for (const auto& test : cases) {
    host.settings.clear();
    host.log.clear();
    if (test.elapsed) {
      const Value last = host.clock.now() - std::chrono::milliseconds(std::llround(*test.elapsed * 1e3));
      host.settings.setObject("lmro.LastUpdate", last);
      host.settings.setObject("lmro.LastReport", last);
    }
    if (!test.timeout.isNull()) host.settings.setObject("lmro.SyncTimeout", test.timeout);
    EXPECT_EQ(lumora().canUpdate(), test.mayUpdate)
        << test.elapsed.value_or(-1) << ", " << test.timeout.description();
    EXPECT_EQ(lumora().canReport(), test.mayReport)
        << test.elapsed.value_or(-1) << ", " << test.timeout.description();
    EXPECT_EQ(log().size(), (test.mayUpdate ? 0U : 1U) + (test.mayReport ? 0U : 1U));
  }
  host.settings.clear();
  host.log.clear();
  host.settings.setObject("lmro.LastUpdate", host.clock.now() - std::chrono::milliseconds(1250));
  host.settings.setObject("lmro.LastReport", host.clock.now() + std::chrono::milliseconds(500));
  lumora().canUpdate();
  lumora().canReport();
  EXPECT_EQ(log(),
            (Texts{"LumoraFramework--[Lumora canUpdate] [Line 355] lapsed from last update call  1.250000",
                   "LumoraFramework--[Lumora canReport] [Line 334] lapsed from last report call -0.500000"}));
}

TEST_F(SyncTest, timeOfTheSyncIsStoredBeforeTheRequest) {
  initialise();
  advance(10);
  host.urlLoader.setHandler([this](const URLRequest& request) {
    EXPECT_EQ(request.method, "GET");
    EXPECT_TRUE(lumora().isSyncing());
    EXPECT_EQ(host.settings.flushedValues()["lmro.LastUpdate"], Value(host.clock.now()));
    return URLResponse{};
  });
  lumora().appWillEnterForeground();
  host.queues.runAll();
  EXPECT_EQ(requests().size(), 1U);
  EXPECT_FALSE(lumora().isSyncing());

  host.log.clear();
  advance(1);
  lumora().appWillEnterForeground();  // The failed request counts as well.
  host.queues.runAll();
  EXPECT_EQ(requests().size(), 1U);
  EXPECT_EQ(log().back(),
            "LumoraFramework--[Lumora canUpdate] [Line 355] lapsed from last update call  1.000000");
}

TEST_F(SyncTest, failedSyncChangesNothing) {
  initialise();
  syncConfig(R"({"secure_mode":true})");
  const Dictionary before = host.settings.values();
  for (const char* answer : {R"({"success":false,"config":{},"lst":9})", "nonsense", ""}) {
    syncAnswer = answer;
    advance(10);
    host.settings.setObject("lmro.LastUpdate", before.at("lmro.LastUpdate"));
    lumora().appWillEnterForeground();
    host.queues.runAll();
    Dictionary after = host.settings.values();
    EXPECT_EQ(after.at("lmro.LastUpdate"), Value(host.clock.now())) << answer;
    for (const char* key : {"lmro.LastUpdate", "lmro.LastReport"}) {
      after.insert_or_assign(key, before.at(key));
    }
    EXPECT_EQ(Value(after), Value(before)) << writeJSON(after).value_or("");
  }
}

TEST_F(SyncTest, nothingIsAskedWhileASyncIsMarkedAsRunning) {
  initialise();
  advance(60);
  lumora().setIsSyncing(true);
  lumora().appWillEnterForeground();
  host.queues.runAll();
  EXPECT_EQ(lastSyncPath(), "none");
  EXPECT_EQ(logWith("pdate call"), Texts());
  EXPECT_TRUE(lumora().isSyncing());
}

TEST_F(SyncTest, unchangedConfigurationOfAFirstRunLeavesItUninitialised) {
  host.urlLoader.enqueue(304, "");
  lumora().initializeWithTarrowID(account, secret);
  host.queues.runAll();
  EXPECT_FALSE(lumora().sdkInitialized());
  EXPECT_EQ(logWith("No update"), Texts{"LumoraSDK-No update available"});
  EXPECT_EQ(setting("lmro.LastUpdate"), "absent");
}

}  // namespace
}  // namespace lumora::tests
