#include <functional>
#include <thread>

#include "lumora/Events/EventKeys.h"
#include "tests/Facade/LumoraFixture.h"

namespace lumora::tests {
namespace {

class UploadTest : public LumoraTest {
 protected:
  /// A line of the upload's own; `line` marks the message.
  static std::string traced(int line, const std::string& message, const char* operation = "reportEvents:") {
    return std::string("LumoraFramework--[LMREventLogger ") + operation + "] [Line " + std::to_string(line) +
           "] " + message;
  }
  static std::string tracedInCallback(int line, const std::string& message) {
    return "LumoraFramework--[LMREventLogger reportEvents:]_block_invoke [Line " + std::to_string(line) +
           "] " + message;
  }
  static inline const std::string posting =
      "LumoraFramework--[LMRNetworkManager postDataSync:toEndpoint:] [Line 136] Posting data to end point "
      "https://account.lumora.example/report/events/";

  static void report(const std::string& name) {
    logger().reportCheckpoint(name, KEY_TYPE_CUSTOM, std::nullopt);
  }
  static std::string eventNamed(const std::string& name, long second = startSecond) {
    return R"({"event_type":"checkpoint","name":")" + name + R"(","timestamp":)" + std::to_string(second) +
           R"(,"type":"custom"})";
  }
};

struct GateCase {
  std::optional<double> elapsed;
  Value timeout;
  bool isOpen;
};

TEST_F(UploadTest, gateOpensAfterFiveSecondsOrTheShorterTimeout) {
  const GateCase cases[] = {
      {std::nullopt, nullptr, true},
      {std::nullopt, 60, true},
      {0, nullptr, false},
      {4.999, nullptr, false},
      {5, nullptr, true},
      {1e9, nullptr, true},
      {-3600, nullptr, false},
      // A time-out only ever shortens the wait, and must be exceeded.
      {2, 2, false},
      {2.001, 2, true},
      {3, 2, true},
      {4.9, 60, false},
      {10, 60, true},
      {5, 5, true},
      {0, 0, false},
      {0.001, 0, true},
      {0, -1, true},
      {-3600, -1, false},
      // Only its whole seconds count.
      {2.5, 2.9, true},
      {2.5, "2", true},
      {2.5, " 2.9 s", true},
      {2.5, "3", false},
      {0.5, "soon", true},
      {1.5, true, true},
      {4, 1e300, false},
  };
  for (const GateCase& test : cases) {
    host.settings.clear();
    host.log.clear();
    if (test.elapsed) {
      host.settings.setObject(
          "lmro.LastReport", host.clock.now() - std::chrono::milliseconds(std::llround(*test.elapsed * 1e3)));
    }
    if (!test.timeout.isNull()) host.settings.setObject("lmro.SyncTimeout", test.timeout);
    EXPECT_EQ(logger().canReport(), test.isOpen)
        << test.elapsed.value_or(0) << " s, time-out " << test.timeout.description();
    EXPECT_EQ(log().size(), test.isOpen ? 0U : 1U);
  }
}

TEST_F(UploadTest, closedGateTellsTheElapsedSeconds) {
  host.settings.setObject("lmro.LastReport", host.clock.now());
  for (const auto& [seconds, text] : {std::pair(1.5, "1.500000"), std::pair(-11.0, "-9.500000")}) {
    advance(seconds);
    EXPECT_FALSE(logger().canReport());
    EXPECT_EQ(log().back(), traced(134, std::string("lapsed from last report call ") + text, "canReport"));
  }
}

TEST_F(UploadTest, withoutASecretNothingIsSent) {
  report("early");
  logger().reportEvents(false);
  logger().reportEvents(true);
  const std::string line = traced(153, "Lumora is not initlized");
  EXPECT_EQ(log(), (Texts{line, line}));
  EXPECT_EQ(requests(), Texts());
  EXPECT_EQ(storedEvents().size(), 2U);  // With the client information.
  EXPECT_EQ(setting("lmro.LastReport"), "absent");
  EXPECT_FALSE(logger().isReporting());
}

TEST_F(UploadTest, requestCarriesEveryRowInOneBody) {
  initialise();
  for (const char* name : {"a", "b", "c"}) report(name);
  logger().reportEvents(true);
  const auto sent = host.urlLoader.requests();
  ASSERT_EQ(sent.size(), 1U);
  EXPECT_EQ(sent[0].url, "https://account.lumora.example/report/events/");
  EXPECT_EQ(sent[0].method, "POST");
  EXPECT_EQ(sent[0].timeout, std::chrono::seconds(10));
  EXPECT_EQ(sent[0].headers.at(0), (std::pair<std::string, std::string>("Content-type", "application/json")));
  EXPECT_EQ(sent[0].body, eventNamed("a") + "\n" + eventNamed("b") + "\n" + eventNamed("c"));
  EXPECT_EQ(storedEvents(), Texts());
}

TEST_F(UploadTest, everyOutcomeHasItsLinesAndKeepsOrDeletesTheRow) {
  const std::string failed = tracedInCallback(209, "Failed to report events data");
  const struct {
    const char* name;
    std::function<void(testing::FakeURLLoader&)> answer;
    Texts linesAfterPosting;
    bool isDeleted;
  } cases[] = {
      {"accepted",
       [](auto& l) { l.enqueue(200, accepted); },
       {"LumoraSDK-Reported all data successfully."},
       true},
      {"accepted whatever the status",
       [](auto& l) { l.enqueue(500, accepted); },
       {"LumoraSDK-Reported all data successfully."},
       true},
      {"refused",
       [](auto& l) { l.enqueue(200, R"({"success":false,"error_message":"quota"})"); },
       {"LumoraSDK-quota", failed},
       false},
      {"refused silently",
       [](auto& l) { l.enqueue(200, "{}"); },
       {"LumoraSDK-Invalid response, please contact Lumora support.", failed},
       false},
      {"no JSON",
       [](auto& l) { l.enqueue(502, "<html>"); },
       {"LumoraSDK-Internal Error Occured", failed},
       false},
      {"no body", [](auto& l) { l.enqueue(200, ""); }, {failed}, false},
      {"offline",
       [](auto& l) { l.enqueueError(kURLErrorNotConnectedToInternet); },
       {"LumoraSDK-Cannot connect to the Lumora, Please check network connectivity.", failed},
       false},
      {"time-out",
       [](auto& l) { l.enqueueError(kURLErrorTimedOut, "too slow"); },
       {"LumoraSDK-too slow", failed},
       false},
  };
  initialise();
  for (const auto& test : cases) {
    advance(5);
    report("a");
    forget();
    const Texts rows = storedEvents();
    test.answer(host.urlLoader);
    logger().reportEvents(false);

    Texts expected{tracedInCallback(185, " sending data " + rows.at(0)), posting};
    expected.insert(expected.end(), test.linesAfterPosting.begin(), test.linesAfterPosting.end());
    EXPECT_EQ(log(), expected) << test.name;
    EXPECT_EQ(requests(), Texts{"POST /report/events/"}) << test.name;
    EXPECT_EQ(storedEvents(), test.isDeleted ? Texts() : rows) << test.name;
    EXPECT_EQ(host.settings.flushedValues()["lmro.LastReport"], Value(host.clock.now())) << test.name;
    EXPECT_FALSE(logger().isReporting()) << test.name;
    LMRDataManager::sharedInstance().cleanUpAppEvents();
  }
}

TEST_F(UploadTest, emptyQueueCountsAsAnAttempt) {
  initialise();
  advance(5);
  logger().reportEvents(false);
  EXPECT_EQ(log(), Texts{tracedInCallback(180, "Lumra-No data available Failed to report data")});
  EXPECT_EQ(requests(), Texts());
  EXPECT_EQ(host.settings.object("lmro.LastReport"), Value(host.clock.now()));
  EXPECT_FALSE(logger().isReporting());
}

TEST_F(UploadTest, forceSkipsTheGateOnly) {
  initialise();
  const Value last = host.settings.object("lmro.LastReport");
  report("a");
  advance(4);
  logger().reportEvents(false);
  EXPECT_EQ(log(), (Texts{traced(134, "lapsed from last report call 4.000000", "canReport"),
                          traced(170, "Wait for some time")}));
  EXPECT_EQ(requests(), Texts());
  EXPECT_EQ(host.settings.object("lmro.LastReport"), last);
  EXPECT_EQ(storedEvents().size(), 1U);
  EXPECT_FALSE(logger().isReporting());

  logger().reportEvents(true);
  EXPECT_EQ(requests(), Texts{"POST /report/events/"});
  EXPECT_EQ(storedEvents(), Texts());
}

TEST_F(UploadTest, failedAttemptClosesTheGateToo) {
  initialise();
  report("a");
  advance(5);
  host.urlLoader.enqueueError(kURLErrorCannotFindHost);
  logger().reportEvents(false);
  logger().reportEvents(false);
  EXPECT_EQ(requests(), Texts{"POST /report/events/"});
  EXPECT_EQ(log().back(), traced(170, "Wait for some time"));
}

TEST_F(UploadTest, ordinaryTriggerGivesUpWhileOneIsMarkedAsRunning) {
  initialise();
  report("a");
  advance(60);
  logger().setIsReporting(true);
  logger().reportEvents(false);
  EXPECT_EQ(log(), Texts{traced(144, "Already reporting the event")});
  EXPECT_TRUE(logger().isReporting());
  logger().reportEvents(true);
  EXPECT_EQ(requests(), Texts{"POST /report/events/"});
  EXPECT_FALSE(logger().isReporting());
}

TEST_F(UploadTest, rowsStoredDuringTheRequestStay) {
  initialise();
  report("a");
  host.urlLoader.setHandler([](const URLRequest&) {
    EXPECT_TRUE(logger().isReporting());
    report("late");  // The uploading thread holds the locks, so it may go on.
    return URLResponse{200, {}, accepted, std::nullopt};
  });
  logger().reportEvents(true);
  EXPECT_EQ(storedEvents(), Texts{eventNamed("late")});
}

TEST_F(UploadTest, ordinaryTriggerDoesNotWaitForAnotherThreadsUpload) {
  initialise();
  report("a");
  advance(60);
  host.urlLoader.hold();
  std::thread uploader([] { logger().reportEvents(false); });
  host.urlLoader.waitForHeldRequests();

  EXPECT_TRUE(logger().isReporting());
  host.log.clear();
  logger().reportEvents(false);  // Would never return if it waited: the upload is released below.
  EXPECT_EQ(log(), Texts{traced(144, "Already reporting the event")});

  host.urlLoader.release();
  uploader.join();
  EXPECT_FALSE(logger().isReporting());
  EXPECT_EQ(requests().size(), 1U);
  EXPECT_EQ(storedEvents(), Texts());
}

TEST_F(UploadTest, forcedTriggerWaitsAndSendsWhatWasStoredMeanwhile) {
  initialise();
  report("a");
  host.urlLoader.hold();
  std::thread uploader([] { logger().reportEvents(true); });
  host.urlLoader.waitForHeldRequests();
  std::thread second([] {
    report("late");
    logger().reportEvents(true);
  });
  EXPECT_EQ(requests().size(), 1U);
  host.urlLoader.release();
  uploader.join();
  second.join();

  const auto sent = host.urlLoader.requests();
  ASSERT_EQ(sent.size(), 2U);
  EXPECT_EQ(sent[0].body, eventNamed("a"));
  EXPECT_EQ(sent[1].body, eventNamed("late"));
  EXPECT_EQ(storedEvents(), Texts());
  EXPECT_FALSE(logger().isReporting());
}

}  // namespace
}  // namespace lumora::tests
