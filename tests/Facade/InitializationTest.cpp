#include <limits>

#include "lumora/Manager/LMRNetworkManager.h"
#include "tests/Facade/LumoraFixture.h"

namespace lumora::tests {
namespace {

constexpr const char* initialized = "LumoraSDK-v.0.7.4 initialized successfully.";
constexpr const char* reported = "LumoraSDK-Reported all data successfully.";

using InitializationTest = LumoraTest;

TEST_F(InitializationTest, firstRunFetchesTheConfigurationStoresTheSecretAndUploads) {
  host.urlLoader.setHandler([&](const URLRequest& request) {
    const bool isFetch = request.method == "GET";
    EXPECT_EQ(setting("lmro.Tarrow"), R"("account")");
    EXPECT_EQ(setting("lmro.InitReport"), isFetch ? "false" : "true");
    EXPECT_EQ(setting("lmro.NewUser"), "true");
    EXPECT_EQ(setting("lmro.InstallDate"), R"("2017-06-01")");
    EXPECT_EQ(setting("lmro.AppSecret"), isFetch ? "absent" : R"("secret")");
    EXPECT_EQ(setting("lmro.AppVersion"), isFetch ? "absent" : R"("1.0")");
    EXPECT_EQ(host.settings.object("lmro.LastUpdate"), isFetch ? Value() : Value(host.clock.now()));
    EXPECT_EQ(lumora().sdkInitialized(), !isFetch);
    return URLResponse{200, {}, accepted, std::nullopt};
  });
  initializeAndRun();
  ASSERT_EQ(requests(), (Texts{syncRequest, uploadRequest}));
  EXPECT_EQ(setting("lmro.AcountBlocked"), "false");
}

TEST_F(InitializationTest, firstFetchWithoutAConfigurationLeavesItUninitialisedUntilARetry) {
  const std::tuple<int, const char*, Texts, const char*> cases[] = {
      {0, "", {"LumoraSDK-too slow"}, "absent"},
      {304, "", {"LumoraSDK-No update available"}, "absent"},
      {200, R"({"success":true,"blocked":true,"lst":7})", {}, "true"},
      {200, accepted, {}, "false"}};  // The stored block outlives an answer that does not mention it.
  for (const auto& [status, body, told, storedBlock] : cases) {
    SCOPED_TRACE(std::to_string(status) + " " + body);
    if (status == 0) host.urlLoader.enqueueError(kURLErrorTimedOut, "too slow");
    if (status != 0) host.urlLoader.enqueue(status, body);
    host.log.clear();
    initializeAndRun();
    EXPECT_EQ(logWith("LumoraSDK-"), told);
    EXPECT_FALSE(lumora().sdkInitialized());
    EXPECT_EQ(storedEvents(), Texts());
    EXPECT_EQ(setting("lmro.AcountBlocked"), storedBlock);
    for (const char* key : {"lmro.AppSecret", "lmro.AppVersion", "lmro.LastUpdate"}) {
      EXPECT_EQ(setting(key), "absent") << key;
    }
  }
  initializeAndRun();
  EXPECT_EQ(requests().back(), uploadRequest);
  EXPECT_EQ(setting("lmro.NewUser"), "true");
}

/// The version, account and secret that are stored, if any, and whether the run is a restart with them.
using StoredRun = std::tuple<std::string, std::string, std::string, bool>;

class StoredRunTest : public LumoraTest, public ::testing::WithParamInterface<StoredRun> {};

TEST_P(StoredRunTest, decidesBetweenAFirstInitialisationAndARestart) {
  const auto& [version, tarrowID, appSecret, isRestart] = GetParam();
  const auto given = [](const std::string& text) { return text.empty() ? Value() : Value(text); };
  rememberEarlierRun(given(version), given(tarrowID), given(appSecret));
  initializeAndRun();
  EXPECT_EQ(lumora().appSecret(), secret);
  EXPECT_EQ(setting("lmro.Tarrow") + setting("lmro.AppVersion"), R"("account""1.0")");
  EXPECT_EQ(logWith("LumoraSDK-"), (Texts{initialized, reported}));
  const bool isNewUser = version.empty();
  EXPECT_EQ(setting("lmro.InstallDate"), isNewUser ? R"("2017-06-01")" : "absent");
  EXPECT_EQ(setting("lmro.NewUser"), isRestart ? "absent" : isNewUser ? "true" : "false");
  ASSERT_EQ(requests(),
            isRestart ? (Texts{uploadRequest, syncRequest}) : (Texts{syncRequest, uploadRequest}));
  const Texts events = lines(host.urlLoader.requests().at(isRestart ? 0 : 1).body);
  EXPECT_EQ(events.size(), isRestart ? 1U : 2U);  // A first one makes the client information due again.
  EXPECT_EQ(events.back(), appOpenEvent());
}

INSTANTIATE_TEST_SUITE_P(, StoredRunTest,
                         ::testing::Values(StoredRun{"1.0", account, secret, true},
                                           StoredRun{"1.00", account, secret, false},
                                           StoredRun{"", account, secret, false},
                                           StoredRun{"1.0", account, "Secret", false},
                                           StoredRun{"1.0", account, "", false},
                                           // Account and secret are compared as one text.
                                           StoredRun{"1.0", "acc", "ountsecret", true}));

TEST_F(InitializationTest, badArgumentsEndItAndLaterCallsAreSilentOrRefused) {
  using Text = std::optional<std::string>;
  const char* const noAccount = "LumoraSDK-Tarrow ID is an empty string.";
  const char* const noSecret = "LumoraSDK-App Secret is empty string.";
  const char* const noVersion = "LumoraSDK-Invalid app version, app version can not be empty.";
  // The arguments, the version, the line, and the account that is stored then.
  const std::tuple<Text, Text, Text, const char*, Value> cases[] = {
      {Text(), secret, "1", noAccount, {}},
      {"", "", "1", noAccount, {}},
      {account, Text(), "1", noSecret, {}},
      {account, "", "1", noSecret, {}},
      {account, secret, Text(), noVersion, account},
      {"other", secret, "", noVersion, "other"},
      {"\xFF", secret, "1", "LumoraSDK-the value cannot be stored", "other"}};
  for (const auto& [given, givenSecret, version, line, stored] : cases) {
    host.bundle.setInfoValue(kBundleShortVersionKey, version);
    forget();
    lumora().initializeWithTarrowID(given, givenSecret);
    const bool isAccepted = host.queues.pendingCount() > 0;
    EXPECT_EQ(isAccepted, !stored.isNull()) << line;
    host.queues.runAll();
    EXPECT_EQ(log(), Texts{line});
    EXPECT_EQ(requests(), Texts());
    EXPECT_EQ(host.settings.values(), stored.isNull() ? Dictionary() : (Dictionary{{"lmro.Tarrow", stored}}));
  }
  forget();
  lumora().initializeWithTarrowID(account, secret);
  for (const char* ignored : {"other", ""}) lumora().initializeWithTarrowID(ignored, ignored);
  EXPECT_EQ(log(), Texts());
  host.queues.runAll();
  EXPECT_EQ(lumora().appSecret(), secret);
  forget();
  lumora().initializeWithTarrowID("other", "other");
  EXPECT_EQ(log(), Texts{"LumoraSDK-Already initialized."});
  EXPECT_EQ(host.application.observerCount(LifecycleNotification::willEnterForeground), 4U);
}

TEST_F(InitializationTest, timeoutIsNeverBelowFiveSecondsAndAProvisioningProfileIsNotOfTheStore) {
  host.bundle.setResource("embedded.mobileprovision", "/host/embedded.mobileprovision");
  EXPECT_FALSE(lumora().isAppStoreEnvironment());
  for (const auto& [given, used] :
       {std::pair(4L, 5), {5L, 5}, {6L, 6}, {3600L, 3600}, {std::numeric_limits<long>::min(), 5}}) {
    lumora().setTimeoutInterval(given);
    EXPECT_EQ(lumora().networkManager().timeoutInterval(), used) << given;
  }
}

TEST_F(InitializationTest, dateIsThatOfTheDevicesTimeZone) {
  const std::tuple<double, int, const char*> cases[] = {
      {1496361599.9, 0, "2017-06-01"}, {1496361600, 0, "2017-06-02"},   {1496318400, 720, "2017-06-02"},
      {1483228800, -1, "2016-12-31"},  {1456704000, 345, "2016-02-29"}, {-0.5, 0, "1969-12-31"},
      {4102444800, 0, "2100-01-01"}};
  for (const auto& [now, offset, date] : cases) {
    setNow(now);
    host.clock.setUTCOffset(std::chrono::minutes(offset));
    EXPECT_EQ(lumora().getFormattedDate(), date) << now << " " << offset;
  }
}

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
