#include "lumora/Facade/LumoraKeeper.h"

#include "lumora/Facade/KeeperPlan.h"
#include "lumora/Facade/LumoraObserver.h"
#include "lumora/Util/LMRSecuritySignature.h"
#include "lumora/Util/LMRUtil.h"
#include "tests/Facade/LumoraFixture.h"

namespace lumora::tests {
namespace {

using namespace std::chrono_literals;

constexpr std::chrono::milliseconds never{-1};

class KeeperTest : public LumoraTest {
 protected:
  /// What is asked of the service within that time, each request with the seconds since the last look.
  Texts during(std::chrono::seconds time) {
    Texts found;
    std::chrono::milliseconds passed{0};
    while (true) {
      host.queues.runAll();
      for (const std::string& request : requests())
        found.push_back(std::to_string(passed / 1s) + " " + request.substr(0, request.find(' ')));
      host.urlLoader.clearRequests();
      const auto next = host.clock.untilNextTimer().value_or(1h * 1000);
      if (passed + next > time) break;
      host.clock.advance(next);
      passed += next;
      ++wakeUps;
    }
    host.clock.advance(time - passed);
    return found;
  }

  std::chrono::milliseconds untilNext() {
    host.queues.runAll();
    return host.clock.untilNextTimer().value_or(never);
  }

  void goOffline() {
    host.urlLoader.setHandler([](const URLRequest&) {
      return URLResponse{0, {}, "", TransportError{std::string(kURLErrorDomain), -1009, "offline"}};
    });
  }
  void goOnline() {
    host.urlLoader.setHandler([this](const URLRequest& request) {
      return URLResponse{200, {}, request.method == "GET" ? syncAnswer : accepted, std::nullopt};
    });
  }

  static LumoraKeeper::Options refreshingNever() { return {.uploadAfter = 60s, .refreshEvery = 1000h}; }

  int wakeUps = 0;
};

TEST_F(KeeperTest, RetriesAnInitialisationThatFailedOffline) {
  goOffline();
  initializeAndRun();
  lumora().reportAction("while_offline");
  forget();
  const LumoraKeeper keeper(refreshingNever());  // Made after the failure, of which it was not told.
  const Texts tries = during(24h);
  ASSERT_GE(tries.size(), 40u);  // Half an hour and a quarter of it at most, from the eighth on.
  EXPECT_LE(tries.size(), 75u);
  EXPECT_EQ(wakeUps, static_cast<int>(tries.size()));
  host.settings.setObject(kLmroInstallDate, "marker");
  host.settings.setObject(kLmroNewUser, "marker");
  goOnline();
  Texts online = during(1h);
  for (std::string& request : online) request.erase(0, request.find(' ') + 1);
  EXPECT_EQ(online, (Texts{"GET", "POST"}));
  EXPECT_TRUE(lumora().sdkInitialized());
  EXPECT_EQ(storedEvents(), Texts());
  EXPECT_EQ(setting(kLmroInstallDate), R"("marker")");
  EXPECT_EQ(setting(kLmroNewUser), R"("marker")");
  EXPECT_EQ(setting(kLmroAppSecret), R"("secret")");
  EXPECT_EQ(host.networkChanges.watchCount(), 0u);
  host.queues.runAll();
  forget();
  host.application.post(LifecycleNotification::willEnterForeground);
  host.queues.runAll();
  EXPECT_EQ(logWith("already started").size(), 1u) << "the lifecycle is heard of once";
}

TEST_F(KeeperTest, RetriesWithinSecondsOnceTheNetworkIsBack) {
  const LumoraKeeper keeper(refreshingNever());
  goOffline();
  initializeAndRun();
  during(1h);
  ASSERT_EQ(host.networkChanges.watchCount(), 1u);
  ASSERT_GT(untilNext(), 5s);
  for (int count = 0; count < 5; ++count) host.networkChanges.post();
  EXPECT_GE(untilNext(), 1s);
  EXPECT_LE(untilNext(), 5s);
  EXPECT_EQ(during(6s).size(), 1u);
  host.networkChanges.post();  // An attempt was just made: the next is due after the minimum between two.
  EXPECT_GE(untilNext(), 3s);
  goOnline();
  EXPECT_EQ(during(10s).size(), 2u);
  EXPECT_TRUE(lumora().sdkInitialized());
}

TEST_F(KeeperTest, LeavesAloneWhatOnlyTheHostCanMend) {
  const LumoraKeeper keeper(refreshingNever());
  EXPECT_EQ(untilNext(), never) << "nothing is initialised";
  lumora().initializeWithTarrowID(account, "");
  EXPECT_EQ(untilNext(), never);
  host.bundle.setInfoValue("CFBundleShortVersionString", "");
  lumora().initializeWithTarrowID(account, secret);
  lumora().reportAction("action");
  EXPECT_EQ(untilNext(), never);
  EXPECT_EQ(during(24h), Texts());
}

TEST_F(KeeperTest, ARefusedOrBlockedAccountIsAskedForHalfAnHourLater) {
  const LumoraKeeper keeper(refreshingNever());
  for (const char* answer : {R"({"success":false})", R"({"success":true,"blocked":true})"}) {
    SCOPED_TRACE(answer);
    syncAnswer = answer;
    initializeAndRun();
    EXPECT_GE(untilNext(), 22min);
    EXPECT_LE(untilNext(), 38min);
    host.networkChanges.post();
    EXPECT_GE(untilNext(), 22min);
  }
}

TEST_F(KeeperTest, UploadsWhatWaitsOnceAndThenRests) {
  const LumoraKeeper keeper(refreshingNever());
  initialise();
  const auto refresh = untilNext();
  EXPECT_GE(refresh, 700h);
  lumora().reportAction("one");
  EXPECT_GE(untilNext(), 45s);
  EXPECT_LE(untilNext(), 75s);
  lumora().reportAction("two");
  EXPECT_EQ(during(1h).size(), 1u);
  EXPECT_EQ(wakeUps, 1);
  EXPECT_EQ(storedEvents(), Texts());

  lumora().reportAction("three");  // Uploads by itself, so long after the last one; the fourth does not.
  lumora().reportAction("four");
  EXPECT_LE(untilNext(), 75s);
  lumora().reportAll();  // The host is faster: there is nothing left to wake up for.
  EXPECT_EQ(during(1s).size(), 2u);
  EXPECT_GE(untilNext(), 600h);

  goOffline();
  lumora().reportAction("five");
  const Texts tries = during(1h);
  EXPECT_GE(tries.size(), 5u);
  EXPECT_LE(tries.size(), 10u);
  goOnline();
  host.networkChanges.post();
  EXPECT_EQ(during(5s).size(), 1u);
  EXPECT_EQ(storedEvents(), Texts());
}

TEST_F(KeeperTest, UploadsInSecureModeOnlyWithASignature) {
  const LumoraKeeper keeper(refreshingNever());
  initialise();
  LMRUtil::setBool(true, kLmroSecureMode);
  lumora().reportAction("secured");
  EXPECT_EQ(during(1h), Texts());
  LMRUtil::setBool(false, kLmroSecureMode);
}

TEST_F(KeeperTest, RefreshesTheConfigurationAtItsInterval) {
  const LumoraKeeper keeper({.uploadAfter = 60s, .refreshEvery = 1h});
  initialise();
  const Texts day = during(24h);
  EXPECT_GE(day.size(), 19u);
  EXPECT_LE(day.size(), 32u);
  EXPECT_EQ(wakeUps, static_cast<int>(day.size()));
  resync(20);  // One for another reason puts the next one off.
  host.urlLoader.clearRequests();
  EXPECT_GE(untilNext(), 45min);
  setNow(startSecond - 1e6);  // A clock that was set back costs no more than another interval.
  lumora().reportAction("action");
  during(2min);
  EXPECT_LE(untilNext(), 75min);
}

TEST_F(KeeperTest, ItsWorkCannotWaitForItself) {
  const LumoraKeeper keeper(refreshingNever());
  initialise();
  host.urlLoader.setHandler([](const URLRequest&) {
    EXPECT_FALSE(lumora().flush(1s));
    return URLResponse{200, {}, accepted, std::nullopt};
  });
  lumora().reportAction("action");
  EXPECT_EQ(during(1h).size(), 1u);
  EXPECT_EQ(logWith("flush was called by a task of the library itself").size(), 1u);
}

TEST_F(KeeperTest, EndsAnywhereAndIsOneAtATime) {
  auto keeper = std::make_unique<LumoraKeeper>(LumoraKeeper::Options{.uploadAfter = 60s, .refreshEvery = 1h});
  {
    const LumoraKeeper second;
    EXPECT_EQ(logWith("There is a keeper already").size(), 1u);
  }
  struct Ender : LumoraObserver {
    explicit Ender(std::unique_ptr<LumoraKeeper>& toEnd) : kept(toEnd) {}
    void initialized() override { kept.reset(); }
    std::unique_ptr<LumoraKeeper>& kept;
  };
  lumora().setObserver(std::make_shared<Ender>(keeper));
  initialise();
  EXPECT_EQ(keeper, nullptr);
  EXPECT_EQ(untilNext(), never);
  lumora().reportAction("action");
  EXPECT_EQ(during(24h), Texts());

  const LumoraKeeper third(refreshingNever());
  EXPECT_EQ(during(80s).size(), 1u);
}

TEST(KeeperPlanTest, PausesGrowAreSpreadAndHaveALimit) {
  const Date start = dateFromSeconds(1e9);
  const double expected[] = {15, 30, 60, 120, 240, 480, 960, 1800, 1800, 1800};
  double shortest = 9;
  double longest = 0;
  for (std::uint64_t seed = 0; seed < 200; ++seed) {
    KeeperPlan plan({.uploadAfter = 60s, .refreshEvery = 1h}, Random(seed));
    for (const double seconds : expected) {
      plan.failed(KeeperPlan::Work::upload, KeeperPlan::Failure::answer, start);
      plan.update({.upload = true}, start);
      const double pause = static_cast<double>(plan.next(start)->delay.count()) / 1000 / seconds;
      shortest = std::min(shortest, pause);
      longest = std::max(longest, pause);
    }
    EXPECT_FALSE(plan.waitsForNetwork());
    plan.succeeded(KeeperPlan::Work::upload);
    plan.update({}, start);
    EXPECT_FALSE(plan.next(start));
  }
  EXPECT_NEAR(shortest, 0.75, 0.01);
  EXPECT_NEAR(longest, 1.25, 0.01);
}

}  // namespace
}  // namespace lumora::tests
