#include "lumora/Events/EventKeys.h"
#include "tests/Facade/LumoraFixture.h"

namespace lumora::tests {
namespace {

constexpr const char* post = "POST /report/events/";
constexpr const char* get = "GET /api/v1/sync/secret?lst=0";

class LifecycleTest : public LumoraTest {
 protected:
  void enterBackground() { host.application.post(LifecycleNotification::didEnterBackground); }
  void enterForeground() { host.application.post(LifecycleNotification::willEnterForeground); }
  static std::string appSession(long duration, long timestamp) {
    return R"({"duration":)" + std::to_string(duration) +
           R"(,"event_type":"session","name":"lmr_app_session","timestamp":)" + std::to_string(timestamp) +
           R"(,"type":"internal"})";
  }
  static std::string appOpen(long timestamp) {
    return R"({"event_type":"checkpoint","name":"lmr_app_open","timestamp":)" + std::to_string(timestamp) +
           R"(,"type":"internal"})";
  }
};

TEST_F(LifecycleTest, backgroundEndsTheSessionUploadsAndSyncs) {
  initialise();
  advance(20);
  enterBackground();
  EXPECT_EQ(host.queues.pendingCount(), 1U);
  EXPECT_EQ(requests(), Texts());
  host.queues.runAll();
  EXPECT_EQ(requests(), (Texts{post, get}));
  EXPECT_EQ(host.urlLoader.requests().at(0).body, appSession(20, startSecond + 20));
}

TEST_F(LifecycleTest, backgroundUploadRespectsTheGate) {
  initialise();
  advance(3);
  enterBackground();
  host.queues.runAll();
  EXPECT_EQ(requests(), Texts());
  EXPECT_EQ(storedEvents(), Texts{appSession(3, startSecond + 3)});
  EXPECT_EQ(
      log(),
      (Texts{"LumoraFramework--[LMREventLogger canReport] [Line 134] lapsed from last report call 3.000000",
             "LumoraFramework--[LMREventLogger reportEvents:] [Line 170] Wait for some time",
             "LumoraFramework--[Lumora canUpdate] [Line 355] lapsed from last update call  3.000000"}));
}

TEST_F(LifecycleTest, foregroundStartsTheSessionAndUploadsInAnyCase) {
  initialise();
  advance(3);
  enterBackground();
  host.queues.runAll();
  forget();
  enterForeground();
  host.queues.runAll();
  EXPECT_EQ(requests(), Texts{post});
  EXPECT_EQ(host.urlLoader.requests().at(0).body,
            appSession(3, startSecond + 3) + "\n" + appOpen(startSecond + 3));
  EXPECT_EQ(setting("lmr_app_open"), "2");

  advance(7);
  forget();
  enterForeground();  // The session is open: no second opening, but a sync.
  host.queues.runAll();
  EXPECT_EQ(requests(), Texts{get});
  EXPECT_EQ(setting("lmr_app_open"), "2");
}

TEST_F(LifecycleTest, nothingIsQueuedWithoutAStoredVersionAndSecret) {
  host.urlLoader.enqueueError(kURLErrorTimedOut);
  lumora().initializeWithTarrowID(account, secret);
  host.queues.runAll();
  const struct {
    Value version;
    Value appSecret;
    bool isQueued;
  } cases[] = {
      {nullptr, nullptr, false}, {"1.0", nullptr, false}, {nullptr, secret, false},
      {"", secret, false},       {"1.0", "", false},      {"1.0", secret, true},
  };
  std::size_t begun = 0;
  for (const auto& test : cases) {
    host.settings.clear();
    rememberEarlierRun(test.version, account, test.appSecret);
    enterForeground();
    EXPECT_EQ(host.application.begunBackgroundTasks(), begun);
    enterBackground();
    EXPECT_EQ(host.application.begunBackgroundTasks(), ++begun);
    EXPECT_EQ(host.queues.pendingCount(), test.isQueued ? 2U : 0U)
        << test.version.description() << ", " << test.appSecret.description();
    host.queues.runAll();
  }
}

TEST_F(LifecycleTest, backgroundTaskLastsUntilItExpires) {
  initialise();
  enterBackground();
  enterBackground();
  host.queues.runAll();
  EXPECT_EQ(host.application.runningBackgroundTasks(), 2U);
  host.application.expireBackgroundTasks();
  EXPECT_EQ(host.application.runningBackgroundTasks(), 0U);
  EXPECT_EQ(host.application.begunBackgroundTasks(), 2U);
}

TEST_F(LifecycleTest, hooksRunOncePerAcceptedInitialisation) {
  host.urlLoader.enqueueError(kURLErrorTimedOut);
  lumora().initializeWithTarrowID(account, secret);
  host.queues.runAll();
  lumora().initializeWithTarrowID(account, secret);
  host.queues.runAll();
  enterForeground();
  EXPECT_EQ(host.queues.pendingCount(), 2U);
}

TEST_F(LifecycleTest, withoutASecretOfThisRunNothingIsAskedFor) {
  rememberEarlierRun("0.9", account, secret);
  host.urlLoader.enqueueError(kURLErrorTimedOut);
  lumora().initializeWithTarrowID(account, secret);
  host.queues.runAll();
  ASSERT_FALSE(lumora().sdkInitialized());
  const Value lastUpdate = host.clock.now() - std::chrono::hours(1);
  host.settings.setObject("lmro.LastUpdate", lastUpdate);
  forget();

  enterForeground();
  host.queues.runAll();
  EXPECT_EQ(requests(), Texts());
  EXPECT_EQ(log(),
            Texts{"LumoraFramework--[LMREventLogger reportEvents:] [Line 153] Lumora is not initlized"});
  EXPECT_EQ(host.settings.object("lmro.LastUpdate"), lastUpdate);
  EXPECT_FALSE(lumora().isSyncing());
  EXPECT_EQ(storedEvents().size(), 2U);  // The client information and the application open wait.
}

TEST_F(LifecycleTest, reportAllForcesAnUpload) {
  initialise();
  logger().reportCheckpoint("a", KEY_TYPE_CUSTOM, std::nullopt);
  lumora().reportAll();
  EXPECT_EQ(requests(), Texts());
  host.queues.runAll();
  EXPECT_EQ(requests(), Texts{post});
}

}  // namespace
}  // namespace lumora::tests
