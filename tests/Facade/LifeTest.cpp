#include <thread>

#include "tests/Facade/LumoraFixture.h"

namespace lumora::tests {
namespace {

constexpr std::chrono::seconds limit{10};

class LifeTest : public LumoraTest {};

TEST_F(LifeTest, flushUploadsWhatWasCalledBefore) {
  initialise();
  lumora().reportAction("a");
  EXPECT_TRUE(lumora().flush(limit));
  lumora().reportAction("b");
  EXPECT_TRUE(lumora().flush(limit)) << "soon after another upload";
  EXPECT_EQ(requests(), Texts({uploadRequest, uploadRequest}));
  host.urlLoader.setHandler({});
  lumora().reportAction("c");
  EXPECT_FALSE(lumora().flush(limit)) << "without a network";
  EXPECT_EQ(storedEvents(), Texts({actionEvent("c")}));
}

TEST_F(LifeTest, aTaskOfTheLibraryCannotWait) {
  initialise();
  bool result = true;
  host.urlLoader.setHandler([&](const URLRequest&) {
    result = lumora().flush(limit);
    lumora().shutdown(limit);
    return URLResponse{200, {}, accepted, std::nullopt};
  });
  lumora().reportAction("a");
  lumora().reportAll();
  host.queues.runAll();
  EXPECT_FALSE(result);
  EXPECT_EQ(logWith("which cannot wait").size(), 2U);
  EXPECT_TRUE(lumora().sdkInitialized());
}

TEST_F(LifeTest, afterAShutdownEverythingIsStoredAndCallsAreIgnored) {
  initialise();
  lumora().reportAction("a");
  lumora().startSession("s");
  lumora().shutdown(limit);
  EXPECT_EQ(requests(), Texts());
  forget();
  lumora().reportAction("late");
  lumora().reportAll();
  lumora().setTrackingConsent(Consent::denied);
  lumora().eraseAllData();
  lumora().shutdown(limit);
  EXPECT_FALSE(lumora().flush(limit));
  EXPECT_EQ(lumora().getDeviceId(), "");
  host.application.post(LifecycleNotification::willEnterForeground);
  logger().reportCheckpoint("late", "custom", std::nullopt);
  host.queues.runAll();
  EXPECT_EQ(storedEvents(), Texts({actionEvent("a")}));
  EXPECT_EQ(requests(), Texts());
  EXPECT_EQ(log(), Texts({"LumoraSDK-Lumora was shut down, calls are ignored."}));
}

TEST_F(LifeTest, aTokenWhoseReportWasCutShortIsReportedByTheNextRun) {
  for (const bool isCutShort : {true, false}) {
    if (isCutShort) host.settings.setObject(kLumoraUnreportedToken, "0a");
    host.settings.setObject(kLmroToken, "0a");
    initializeAndRun();
    const auto found = host.urlLoader.requests();
    const auto timesReported = std::ranges::count_if(
        found, [](const URLRequest& request) { return request.body.find(R"("0a")") != std::string::npos; });
    EXPECT_EQ(timesReported, 1) << isCutShort;
  }
  EXPECT_EQ(setting(kLumoraUnreportedToken), "absent");
  // The mark and the token reach the disk together, and the mark goes with the row.
  lumora().registerPushDeviceToken(Data{0x0b});
  const Dictionary flushed = host.settings.flushedValues();
  EXPECT_TRUE(findValue(flushed, kLumoraUnreportedToken) && findValue(flushed, kLmroToken));
  EXPECT_EQ(setting(kLumoraUnreportedToken), R"("0b")");
  host.queues.runAll();
  EXPECT_EQ(setting(kLumoraUnreportedToken), "absent");
}

}  // namespace
}  // namespace lumora::tests
