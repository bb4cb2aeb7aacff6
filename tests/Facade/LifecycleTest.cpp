#include <tuple>

#include "tests/Facade/LumoraFixture.h"

namespace lumora::tests {
namespace {

class LifecycleTest : public LumoraTest {
 protected:
  void enterBackground() { host.application.post(LifecycleNotification::didEnterBackground); }
  void enterForeground() { host.application.post(LifecycleNotification::willEnterForeground); }
};

TEST_F(LifecycleTest, backgroundKeepsTheMinimumIntervalsAndForegroundUploadsInAnyCase) {
  initialise();
  advance(20);
  enterBackground();
  host.queues.runAll();
  EXPECT_EQ(requests(), (Texts{uploadRequest, syncRequest}));
  EXPECT_EQ(host.urlLoader.requests().at(0).body, sessionEvent("lmr_app_session", 20, startSecond + 20));
  for (const auto& [seconds, expected] :
       {std::pair(0, Texts{uploadRequest}), {3, Texts()}, {7, {syncRequest}}}) {
    advance(seconds);
    forget();
    enterForeground();  // From the second time on the session is open, and there is nothing to upload.
    host.queues.runAll();
    EXPECT_EQ(requests(), expected) << seconds;
  }
  advance(3);
  forget();
  enterBackground();
  host.queues.runAll();
  EXPECT_EQ(requests(), Texts());
  EXPECT_EQ(storedEvents(), Texts{sessionEvent("lmr_app_session", 13, startSecond + 33)});
}

TEST_F(LifecycleTest, nothingIsQueuedWithoutAStoredVersionAndSecret) {
  host.urlLoader.enqueueError(kURLErrorTimedOut);
  initializeAndRun();
  const std::tuple<Value, Value, std::size_t> cases[] = {
      {"1.0", nullptr, 0}, {nullptr, secret, 0}, {"", secret, 0}, {"1.0", "", 0}, {"1.0", secret, 2}};
  for (const auto& [version, appSecret, queued] : cases) {
    host.settings.clear();
    rememberEarlierRun(version, account, appSecret);
    enterForeground();
    enterBackground();
    EXPECT_EQ(host.queues.pendingCount(), queued) << version.description() << ", " << appSecret.description();
    host.queues.runAll();
  }
  // Each way into the background asks for time, which lasts until it expires.
  EXPECT_EQ(host.application.runningBackgroundTasks(), std::size(cases));
  host.application.expireBackgroundTasks();
  EXPECT_EQ(host.application.runningBackgroundTasks(), 0U);
}

TEST_F(LifecycleTest, withoutAnInitialisationOnlyTheStoredSecretIsUsedAndALiftedBlockStored) {
  rememberEarlierRun("0.9", account, "another");
  host.urlLoader.enqueueError(kURLErrorTimedOut);
  initializeAndRun();
  resync(10);
  EXPECT_EQ(requests(), Texts());
  EXPECT_EQ(setting("lmro.LastUpdate"), "absent");
  EXPECT_EQ(storedEvents().size(), 2U);  // The client information and the application open wait.
  rememberEarlierRun("1.0", account, secret);
  host.settings.setObject("lmro.AcountBlocked", true);
  initializeAndRun();
  initializeAndRun();  // Accepted again, to the same end.
  EXPECT_EQ(logWith("LumoraSDK-"), Texts(2, "LumoraSDK-account disabled for this app."));
  for (const std::string blocked : {"true", "false"}) {
    syncAnswer = R"({"success":true,"blocked":)" + blocked + "}";
    advance(10);
    blocked == "true" ? enterForeground() : enterBackground();
    host.queues.runAll();
    EXPECT_EQ(setting("lmro.AcountBlocked"), blocked);
  }
  EXPECT_EQ(requests(), Texts(2, syncRequest));
  EXPECT_FALSE(lumora().isSyncing() || lumora().sdkInitialized());
  initializeAndRun();
  EXPECT_TRUE(lumora().sdkInitialized());
}

}  // namespace
}  // namespace lumora::tests
