#include <future>

#include "tests/Facade/LumoraFixture.h"

namespace lumora::tests {
namespace {

class SyncTest : public LumoraTest {
 protected:
  /// One resync, answered with these members besides the acceptance.
  void sync(const std::string& members) {
    syncAnswer = R"({"success":true)" + (members.empty() ? "" : "," + members) + "}";
    resync(10);
  }
};

TEST_F(SyncTest, stampOfTheLastAnswerIsSentBack) {
  initialise();
  const std::pair<const char*, const char*> cases[] = {
      {R"("lst":null)", "0"},  {R"("lst":1496318400)", "1496318400"},
      {"", "1496318400"},      {R"("lst":{})", "1496318400"},
      {R"("lst":0.1)", "0.1"}, {R"("lst":"17")", "17"},
      {R"("lst":true)", "1"},  {R"("lst":9007199254740993)", "9007199254740992"}};  // Kept as a double.
  for (const auto& [members, sentBack] : cases) {
    sync(members);
    sync("");
    EXPECT_EQ(requests().back(), std::string("GET /api/v1/sync/secret?lst=") + sentBack) << members;
  }
}

TEST_F(SyncTest, blockTimeoutAndFeaturesAreTakenOver) {
  initialise();
  const std::pair<const char*, std::string> cases[] = {
      {"", "false false absent absent absent"},
      {R"("blocked":true,"config":{"syncTimeOut":2.5,"secure_mode":true,"test_device":2.5})",
       "true true 2.5 true true"},
      // Without a word about it this run's block stays, and what is no configuration changes nothing.
      {R"("blocked":null,"config":null)", "true false 2.5 true true"},
      {R"("config":[false])", "true false 2.5 true true"},
      {R"("blocked":"no","config":"off")", "false false 2.5 true true"},
      {R"("blocked":1,"config":{"syncTimeOut":"7","secure_mode":[true],"test_device":"0"})",
       R"(true true "7" false false)"},
      {R"("config":{"syncTimeOut":null,"secure_mode":"true","test_device":1})",
       R"(true false "7" true true)"},
      {R"("blocked":0,"config":{"syncTimeOut":[1]})", R"(false false "7" false false)"},
  };
  const auto state = [this] {
    std::string found = lumora().accountBlocked() ? "true" : "false";
    for (const char* key : {"lmro.AcountBlocked", "lmro.SyncTimeout", "lmro.secureMode", "lmro.TestDevice"}) {
      found += " " + setting(key);
    }
    return found;
  };
  for (const auto& [members, expected] : cases) {
    sync(members);
    EXPECT_EQ(state(), expected) << members;
  }
  syncAnswer = R"({"success":false,"blocked":true,"config":{"secure_mode":true}})";
  resync(10);
  EXPECT_EQ(state(), R"(false false "7" false false)");
}

TEST_F(SyncTest, switchingAFeatureOnIsToldOnceAndANewTestDeviceReportsItsToken) {
  initialise();
  sync(R"("config":{"secure_mode":true})");
  EXPECT_EQ(logWith("Enabling"), Texts{"LumoraSDK-Enabling a secure communication mode on this device."});
  sync(R"("config":{"secure_mode":true})");
  EXPECT_EQ(logWith("Enabling"), Texts());
  for (const std::string token : {"", "ab12"}) {
    host.settings.setObject("lmro.Token", token);
    sync(R"("config":{"test_device":true})");
    EXPECT_EQ(logWith("Enabling"), Texts{"LumoraSDK-Enabling a test device functionality on this device"});
    ASSERT_EQ(storedEvents().size(), 1U);
    EXPECT_NE(storedEvents()[0].find(R"("push_token":")" + token + '"'), std::string::npos) << token;
    sync(R"("config":{"test_device":true})");
    EXPECT_EQ(storedEvents(), Texts());  // The upload took it, and no other was made.
    sync(R"("config":{})");
  }
}

TEST_F(SyncTest, campaignsAreCountedOnTheirOwnQueue) {
  initialise();
  const std::string origin =
      "LumoraFramework--[Lumora parseResponseForBlockedAndFeatures:]_block_invoke [Line 265] ";
  for (const auto& [campaigns, count] :
       {std::pair("null", ""), {R"({"cid":"c"})", ""}, {"3", ""}, {"[]", "0"}, {R"([5,"x",null,{}])", "4"}}) {
    syncAnswer = std::string(R"({"success":true,"inapp":)") + campaigns + "}";
    advance(10);
    forget();
    lumora().appWillEnterForeground();
    lumora().serialQueue().sync([] {});
    EXPECT_EQ(logWith("InAppMessages"), Texts()) << campaigns;
    host.queues.runAll();
    const Texts lines{origin + "Received " + count + " InAppMessages in sync call."};
    EXPECT_EQ(logWith("InAppMessages"), *count ? lines : Texts()) << campaigns;
  }
}

TEST_F(SyncTest, minimumIntervals) {
  enum May { neither, report, both };
  // A time-out only ever shortens the wait, and must be exceeded; only its whole seconds count.
  const std::tuple<double, Value, May> cases[] = {
      {4.999, nullptr, neither}, {5, nullptr, report},  {9.5, nullptr, report}, {10, nullptr, both},
      {-3600, nullptr, neither}, {3, 3, neither},       {3.001, 3, both},       {4, 3600, neither},
      {10, 3600, both},          {7, 7, report},        {0, 0, neither},        {0, -1, both},
      {2.5, 2.9, both},          {2.5, " 2.9 s", both}, {2.5, "3", neither},    {0.5, "soon", both},
      {4, 1e300, neither}};
  EXPECT_TRUE(lumora().canUpdate() && lumora().canReport() && logger().canReport());
  for (const auto& [elapsed, timeout, may] : cases) {
    SCOPED_TRACE(std::to_string(elapsed) + " s, time-out " + timeout.description());
    const Value last = host.clock.now() - std::chrono::milliseconds(std::llround(elapsed * 1e3));
    host.settings.clear();
    host.log.clear();
    host.settings.setObject("lmro.LastUpdate", last);
    host.settings.setObject("lmro.LastReport", last);
    if (!timeout.isNull()) host.settings.setObject("lmro.SyncTimeout", timeout);
    EXPECT_EQ(lumora().canUpdate(), may == both);
    EXPECT_EQ(lumora().canReport(), may != neither);
    EXPECT_EQ(logger().canReport(), may != neither);
    EXPECT_EQ(log().size(), may == both ? 0U : may == report ? 1U : 3U);
  }
  const std::string line = "LumoraFramework--[Lumora can";
  EXPECT_EQ(log().at(0), line + "Update] [Line 355] lapsed from last update call  4.000000");
  EXPECT_EQ(log().at(1), line + "Report] [Line 334] lapsed from last report call 4.000000");
}

TEST_F(SyncTest, timeOfTheSyncIsStoredBeforeTheRequestAndNoHostCallWaitsForIt) {
  initialise();
  std::future<void> call;
  host.urlLoader.setHandler([&](const URLRequest& request) {
    if (request.method == "POST") return URLResponse{200, {}, accepted, {}};
    call = std::async(std::launch::async, [] { lumora().registerPushDeviceToken(Data{1}); });
    EXPECT_EQ(call.wait_for(std::chrono::seconds(10)), std::future_status::ready);
    EXPECT_TRUE(lumora().isSyncing());
    EXPECT_EQ(host.settings.flushedValues()["lmro.LastUpdate"], Value(host.clock.now()));
    return URLResponse{};
  });
  resync(10);
  EXPECT_EQ(requests(), (Texts{syncRequest, uploadRequest}));
  EXPECT_FALSE(lumora().isSyncing());
  resync(1);  // The failed request counts as well.
  EXPECT_EQ(requests(), Texts());
  lumora().setIsSyncing(true);
  resync(60);
  EXPECT_EQ(requests(), Texts());
}

}  // namespace
}  // namespace lumora::tests
