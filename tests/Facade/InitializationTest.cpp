#include <cstdio>
#include <limits>
#include <locale>

#include "lumora/Manager/LMRNetworkManager.h"
#include "tests/Facade/LumoraFixture.h"

namespace lumora::tests {
namespace {

constexpr const char* initialized = "LumoraSDK-v.0.7.4 initialized successfully.";
constexpr const char* gettingConfiguration =
    "LumoraFramework--[LMRNetworkManager getDataFromEndpoint:] [Line 52] Getting data from end point "
    "https://account.lumora.example/api/v1/sync/secret?lst=0";
constexpr const char* posting =
    "LumoraFramework--[LMRNetworkManager postDataSync:toEndpoint:] [Line 136] Posting data to end point "
    "https://account.lumora.example/report/events/";
constexpr const char* notInitialized =
    "LumoraFramework--[LMREventLogger reportEvents:] [Line 153] Lumora is not initlized";
constexpr const char* appOpenEvent =
    R"({"event_type":"checkpoint","name":"lmr_app_open","timestamp":1496318400,"type":"internal"})";

class InitializationTest : public LumoraTest {
 protected:
  void initializeAndRun() {
    lumora().initializeWithTarrowID(account, secret);
    host.queues.runAll();
  }
  std::size_t observers(LifecycleNotification notification) const {
    return host.application.observerCount(notification);
  }
  void expectObservers(std::size_t count) const {
    EXPECT_EQ(observers(LifecycleNotification::willEnterForeground), count);
    EXPECT_EQ(observers(LifecycleNotification::didEnterBackground), count);
  }
  static std::string sendingData(const std::string& body) {
    return "LumoraFramework--[LMREventLogger reportEvents:]_block_invoke [Line 185]  sending data " + body;
  }
};

TEST_F(InitializationTest, emptyArgumentsAreRefused) {
  constexpr const char* emptyTarrow = "LumoraSDK-Tarrow ID is an empty string.";
  constexpr const char* emptySecret = "LumoraSDK-App Secret is empty string.";
  const struct {
    std::optional<std::string> tarrowID;
    std::optional<std::string> appSecret;
    const char* line;
  } cases[] = {
      {std::nullopt, secret, emptyTarrow},
      {"", secret, emptyTarrow},
      {"", "", emptyTarrow},
      {std::nullopt, std::nullopt, emptyTarrow},
      {account, std::nullopt, emptySecret},
      {account, "", emptySecret},
  };
  for (const auto& test : cases) {
    host.log.clear();
    lumora().initializeWithTarrowID(test.tarrowID, test.appSecret);
    EXPECT_EQ(log(), Texts{test.line})
        << test.tarrowID.value_or("(null)") << ", " << test.appSecret.value_or("(null)");
  }
  expectObservers(0);
  EXPECT_EQ(host.queues.pendingCount(), 0U);
  EXPECT_FALSE(lumora().makingInitCall());
  EXPECT_EQ(host.settings.values(), Dictionary());
}

TEST_F(InitializationTest, secondCallWhileTheFirstIsQueuedIsSilent) {
  lumora().initializeWithTarrowID(account, secret);
  EXPECT_TRUE(lumora().makingInitCall());
  lumora().initializeWithTarrowID("other", "other");
  lumora().initializeWithTarrowID("", "");
  EXPECT_EQ(log(), Texts());
  EXPECT_EQ(host.queues.pendingCount(), 1U);
  expectObservers(1);
  EXPECT_EQ(requests(), Texts());
  host.queues.runAll();
  EXPECT_FALSE(lumora().makingInitCall());
  EXPECT_EQ(lumora().appSecret(), secret);
}

TEST_F(InitializationTest, callAfterSuccessIsRefused) {
  initialise();
  lumora().initializeWithTarrowID("other", "other");
  lumora().initializeWithTarrowID("", "other");
  EXPECT_EQ(log(), (Texts{"LumoraSDK-Already initialized.", "LumoraSDK-Tarrow ID is an empty string."}));
  expectObservers(1);
  EXPECT_EQ(host.queues.pendingCount(), 0U);
  EXPECT_EQ(setting("lmro.Tarrow"), R"("account")");
}

TEST_F(InitializationTest, firstRunFetchesTheConfigurationThenUploads) {
  initializeAndRun();
  EXPECT_EQ(requests(), (Texts{"GET /api/v1/sync/secret?lst=0", "POST /report/events/"}));
  const std::string body = host.urlLoader.requests().at(1).body;
  const Texts events = lines(body);
  ASSERT_EQ(events.size(), 2U);
  EXPECT_NE(events[0].find(R"("event_type":"init")"), std::string::npos);
  EXPECT_NE(events[0].find(R"("new_install":true)"), std::string::npos);
  EXPECT_EQ(events[1], appOpenEvent);
  EXPECT_EQ(log(), (Texts{gettingConfiguration, initialized, sendingData(body), posting,
                          "LumoraSDK-Reported all data successfully."}));

  EXPECT_TRUE(lumora().sdkInitialized());
  EXPECT_EQ(setting("lmro.Tarrow"), R"("account")");
  EXPECT_EQ(setting("lmro.AppSecret"), R"("secret")");
  EXPECT_EQ(setting("lmro.AppVersion"), R"("1.0")");
  EXPECT_EQ(setting("lmro.NewUser"), "true");
  EXPECT_EQ(setting("lmro.InstallDate"), R"("2017-06-01")");
  EXPECT_EQ(setting("lmro.AcountBlocked"), "false");
  EXPECT_EQ(setting("lmr_app_open"), "1");
  EXPECT_EQ(host.settings.object("lmro.LastUpdate"), Value(host.clock.now()));
}

TEST_F(InitializationTest, secretIsStoredOnlyAfterTheFetch) {
  host.urlLoader.setHandler([&](const URLRequest& request) {
    const bool isFetch = request.method == "GET";
    EXPECT_EQ(setting("lmro.Tarrow"), R"("account")");
    EXPECT_EQ(setting("lmro.InitReport"), isFetch ? "false" : "true");
    EXPECT_EQ(setting("lmro.NewUser"), "true");
    EXPECT_EQ(setting("lmro.InstallDate"), R"("2017-06-01")");
    EXPECT_EQ(setting("lmro.AppSecret"), isFetch ? "absent" : R"("secret")");
    EXPECT_EQ(setting("lmro.AppVersion"), isFetch ? "absent" : R"("1.0")");
    EXPECT_EQ(setting("lmro.LastUpdate") == "absent", isFetch);
    EXPECT_EQ(lumora().sdkInitialized(), !isFetch);
    EXPECT_TRUE(lumora().makingInitCall());
    return URLResponse{200, {}, accepted, std::nullopt};
  });
  initializeAndRun();
  EXPECT_EQ(requests().size(), 2U);
}

TEST_F(InitializationTest, failedFirstFetchLeavesTheLibraryUninitialisedAndIsRetried) {
  host.urlLoader.enqueueError(kURLErrorTimedOut, "too slow");
  initializeAndRun();
  EXPECT_EQ(log(), (Texts{gettingConfiguration, "LumoraSDK-too slow", notInitialized}));
  EXPECT_FALSE(lumora().sdkInitialized());
  EXPECT_FALSE(lumora().makingInitCall());
  EXPECT_EQ(storedEvents(), Texts());
  EXPECT_EQ(setting("lmro.Tarrow"), R"("account")");
  EXPECT_EQ(setting("lmro.InitReport"), "false");
  for (const char* key : {"lmro.AppSecret", "lmro.AppVersion", "lmro.LastUpdate", "lmro.AcountBlocked"}) {
    EXPECT_EQ(setting(key), "absent") << key;
  }

  forget();
  initializeAndRun();
  expectObservers(2);
  EXPECT_TRUE(lumora().sdkInitialized());
  EXPECT_EQ(requests(), (Texts{"GET /api/v1/sync/secret?lst=0", "POST /report/events/"}));
  EXPECT_EQ(setting("lmro.NewUser"), "true");
}

TEST_F(InitializationTest, blockedAnswerToTheFirstFetchEndsItSilently) {
  syncAnswer = R"({"success":true,"blocked":true,"lst":7})";
  initializeAndRun();
  EXPECT_EQ(log(), (Texts{gettingConfiguration, notInitialized}));
  EXPECT_FALSE(lumora().sdkInitialized());
  EXPECT_FALSE(lumora().makingInitCall());
  EXPECT_TRUE(lumora().accountBlocked());
  EXPECT_EQ(storedEvents(), Texts());
  EXPECT_EQ(setting("lmro.AcountBlocked"), "true");
  for (const char* key : {"lmro.AppSecret", "lmro.AppVersion", "lmro.LastUpdate"}) {
    EXPECT_EQ(setting(key), "absent") << key;
  }

  syncAnswer = R"({"success":true,"blocked":false})";
  initializeAndRun();
  EXPECT_TRUE(lumora().sdkInitialized());
}

TEST_F(InitializationTest, storedBlockOutlivesAnAnswerThatDoesNotMentionIt) {
  host.settings.setObject("lmro.AcountBlocked", true);
  initializeAndRun();
  EXPECT_FALSE(lumora().sdkInitialized());
  EXPECT_TRUE(lumora().accountBlocked());
  EXPECT_EQ(setting("lmro.AcountBlocked"), "false");
}

struct StoredRun {
  const char* name;
  Value version;
  Value tarrowID;
  Value appSecret;
  std::string_view path;
  bool isNewUser = false;
};

void PrintTo(const StoredRun& run, std::ostream* out) {
  *out << run.name;
}

class StoredRunTest : public InitializationTest, public ::testing::WithParamInterface<StoredRun> {};

TEST_P(StoredRunTest, decidesBetweenAFirstInitialisationAndARestart) {
  const StoredRun& run = GetParam();
  rememberEarlierRun(run.version, run.tarrowID, run.appSecret);
  host.settings.setObject("lmro.InstallDate", "2016-02-29");
  initializeAndRun();
  EXPECT_TRUE(lumora().sdkInitialized());
  EXPECT_EQ(lumora().appSecret(), secret);
  EXPECT_EQ(log().at(run.path == "restart" ? 0 : 1), initialized);
  EXPECT_EQ(setting("lmro.Tarrow"), R"("account")");

  const std::string get = "GET /api/v1/sync/secret?lst=0";
  const std::string post = "POST /report/events/";
  const std::string body = host.urlLoader.requests().at(run.path == "restart" ? 0 : 1).body;
  if (run.path == "restart") {
    EXPECT_EQ(requests(), (Texts{post, get}));
    EXPECT_EQ(body, appOpenEvent);
    EXPECT_EQ(setting("lmro.NewUser"), "absent");
  } else {
    EXPECT_EQ(requests(), (Texts{get, post}));
    EXPECT_EQ(lines(body).size(), 2U) << body;  // The client information is due again.
    EXPECT_EQ(setting("lmro.NewUser"), run.isNewUser ? "true" : "false");
    EXPECT_EQ(setting("lmro.AppSecret"), R"("secret")");
    EXPECT_EQ(setting("lmro.AppVersion"), R"("1.0")");
  }
  EXPECT_EQ(setting("lmro.InstallDate"), run.isNewUser ? R"("2017-06-01")" : R"("2016-02-29")");
}

INSTANTIATE_TEST_SUITE_P(
    , StoredRunTest,
    ::testing::Values(StoredRun{"nothing", nullptr, nullptr, nullptr, "fresh", true},
                      StoredRun{"same", "1.0", account, secret, "restart"},
                      StoredRun{"update", "0.9", account, secret, "fresh"},
                      StoredRun{"versionSpelling", "1.00", account, secret, "fresh"},
                      StoredRun{"noVersion", nullptr, account, secret, "fresh", true},
                      StoredRun{"otherSecret", "1.0", account, "Secret", "fresh"},
                      StoredRun{"otherAccount", "1.0", "Account", secret, "fresh"},
                      StoredRun{"noSecret", "1.0", account, nullptr, "fresh"},
                      // Account and secret are compared as one text.
                      StoredRun{"sameConcatenation", "1.0", "acc", "ountsecret", "restart"},
                      StoredRun{"allInTheSecret", "1.0", nullptr, "accountsecret", "restart"}),
    [](const auto& test) { return test.param.name; });

TEST_F(InitializationTest, restartUploadsThenSyncs) {
  rememberEarlierRun("1.0", account, secret);
  initializeAndRun();
  EXPECT_EQ(log(), (Texts{initialized, sendingData(appOpenEvent), posting,
                          "LumoraSDK-Reported all data successfully.",
                          "LumoraFramework--[Lumora resyncConfiguration] [Line 407] Making update call",
                          gettingConfiguration}));
}

TEST_F(InitializationTest, restartSoonAfterASyncSkipsTheNext) {
  rememberEarlierRun("1.0", account, secret);
  host.settings.setObject("lmro.LastUpdate", host.clock.now() - std::chrono::milliseconds(2500));
  initializeAndRun();
  EXPECT_EQ(requests(), Texts{"POST /report/events/"});
  EXPECT_EQ(log().back(),
            "LumoraFramework--[Lumora canUpdate] [Line 355] lapsed from last update call  2.500000");
}

TEST_F(InitializationTest, blockedAccountIsNotRestarted) {
  rememberEarlierRun("1.0", account, secret);
  host.settings.setObject("lmro.AcountBlocked", true);
  initializeAndRun();
  initializeAndRun();  // Accepted again, to the same end.
  EXPECT_EQ(log(), Texts(2, "LumoraSDK-account disabled for this app."));
  expectObservers(2);
  EXPECT_EQ(requests(), Texts());
  EXPECT_EQ(storedEvents(), Texts());
  EXPECT_EQ(lumora().appSecret(), std::nullopt);
  EXPECT_FALSE(lumora().makingInitCall());
  EXPECT_TRUE(lumora().accountBlocked());
}

TEST_F(InitializationTest, emptyVersionEndsTheInitialisation) {
  for (const std::optional<std::string>& version :
       {std::optional<std::string>(), std::optional<std::string>("")}) {
    host.bundle.setInfoValue(kBundleShortVersionKey, version);
    forget();
    initializeAndRun();
    EXPECT_EQ(log(), Texts{"LumoraSDK-Invalid app version, app version can not be empty."});
    EXPECT_EQ(requests(), Texts());
    EXPECT_EQ(host.settings.values(), (Dictionary{{"lmro.Tarrow", account}}));
    EXPECT_FALSE(lumora().makingInitCall());
  }
  host.bundle.setInfoValue(kBundleShortVersionKey, "2.0");
  initializeAndRun();
  EXPECT_TRUE(lumora().sdkInitialized());
}

TEST_F(InitializationTest, warningIsGivenUnlessInitialisedOrUnderWay) {
  const std::string warning =
      "LumoraSDK-[warning] is not initialized. Initialize Framwork using initializeWithTarrowID:appSecret: "
      "method.";
  lumora().sdkInitilizationWarning();
  EXPECT_EQ(log(), Texts{warning});
  host.log.clear();
  lumora().initializeWithTarrowID(account, secret);
  lumora().sdkInitilizationWarning();
  EXPECT_EQ(log(), Texts());
  host.queues.runAll();
  host.log.clear();
  lumora().sdkInitilizationWarning();
  EXPECT_EQ(log(), Texts());
}

TEST_F(InitializationTest, queuesAreLabelledWithTheInstance) {
  char address[32];
  std::snprintf(address, sizeof address, "%p", static_cast<const void*>(&lumora()));
  EXPECT_EQ(lumora().serialQueue().label(), std::string("com.ostrel.queue.") + address);
  EXPECT_EQ(lumora().serialInAppQueue().label(), std::string("com.ostrel.inapp.queue.") + address);
}

TEST_F(InitializationTest, hostWithoutAProvisioningProfileComesFromTheStore) {
  EXPECT_TRUE(lumora().isAppStoreEnvironment());
}

TEST_F(InitializationTest, hostWithAProvisioningProfileDoesNot) {
  host.bundle.setResource("embedded.mobileprovision", "/host/embedded.mobileprovision");
  EXPECT_FALSE(lumora().isAppStoreEnvironment());
}

TEST_F(InitializationTest, deviceIdIsTheInstallIdentifier) {
  host.settings.setObject("kOstrelAppIDDefaultsKey", "an-earlier-one");
  EXPECT_EQ(lumora().getDeviceId(), "an-earlier-one");
}

TEST_F(InitializationTest, timeoutIsNeverBelowFiveSeconds) {
  EXPECT_EQ(lumora().networkManager().timeoutInterval(), 10);
  const std::pair<long, long> cases[] = {
      {3, 5}, {5, 5}, {6, 6}, {0, 5}, {-1, 5}, {3600, 3600}, {std::numeric_limits<long>::min(), 5}};
  for (const auto& [given, used] : cases) {
    lumora().setTimeoutInterval(given);
    EXPECT_EQ(lumora().networkManager().timeoutInterval(), used) << given;
  }
  lumora().setTimeoutInterval(42);
  initializeAndRun();
  EXPECT_EQ(host.urlLoader.requests().at(0).timeout, std::chrono::seconds(42));
}

/// Digits in groups, as a host may set them for its own output.
class GroupedDigits : public std::numpunct<char> {
  char do_thousands_sep() const override { return ','; }
  std::string do_grouping() const override { return "\3"; }
};

TEST_F(InitializationTest, dateIsThatOfTheDevicesTimeZone) {
  std::locale::global(std::locale(std::locale::classic(), new GroupedDigits));
  using std::chrono::hours;
  using std::chrono::minutes;
  const struct {
    double now;
    std::chrono::seconds offset;
    const char* date;
  } cases[] = {
      {1496318400, hours(0), "2017-06-01"},
      {1496361599.9, hours(0), "2017-06-01"},
      {1496361600, hours(0), "2017-06-02"},
      {1496361599, std::chrono::seconds(1), "2017-06-02"},
      {1496318400, hours(12), "2017-06-02"},
      {1496318400, hours(14), "2017-06-02"},
      {1496280600, hours(-2), "2017-05-31"},
      {1496282399, minutes(-150), "2017-05-31"},
      {1483228800, minutes(-1), "2016-12-31"},
      {1456704000, minutes(345), "2016-02-29"},
      {-1, hours(0), "1969-12-31"},
      {-0.5, hours(0), "1969-12-31"},
      {0, hours(0), "1970-01-01"},
      {4102444800, hours(0), "2100-01-01"},
  };
  for (const auto& test : cases) {
    setNow(test.now);
    host.clock.setUTCOffset(test.offset);
    EXPECT_EQ(lumora().getFormattedDate(), test.date) << test.now << " " << test.offset.count();
  }
}

}  // namespace
}  // namespace lumora::tests
