#include <thread>

#include "lumora/Events/EventKeys.h"
#include "tests/Facade/LumoraFixture.h"

namespace lumora::tests {
namespace {

class UploadTest : public LumoraTest {
 protected:
  static inline const std::string callback = "reportEvents:]_block_invoke";

  /// A trace line of the upload's own; `line` marks the message.
  static std::string traced(int line, const std::string& message,
                            const std::string& operation = "reportEvents:]") {
    return "LumoraFramework--[LMREventLogger " + operation + " [Line " + std::to_string(line) + "] " +
           message;
  }
  static void report(const std::string& name) {
    logger().reportCheckpoint(name, KEY_TYPE_CUSTOM, std::nullopt);
  }
};

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

TEST_F(UploadTest, requestCarriesEveryRowAndLaterOnesStay) {
  initialise();
  for (const char* name : {"a", "b", "c"}) report(name);
  host.urlLoader.setHandler([](const URLRequest& request) {
    EXPECT_EQ(request.url, "https://account.lumora.example/report/events/");
    EXPECT_EQ(request.method, "POST");
    EXPECT_EQ(request.timeout, std::chrono::seconds(10));
    EXPECT_EQ(request.body, actionEvent("a") + "\n" + actionEvent("b") + "\n" + actionEvent("c"));
    EXPECT_TRUE(logger().isReporting());
    report("late");  // The uploading thread holds the locks, so it may go on.
    return URLResponse{200, {}, accepted, std::nullopt};
  });
  logger().reportEvents(true);
  EXPECT_EQ(requests().size(), 1U);
  EXPECT_EQ(storedEvents(), Texts{actionEvent("late")});
}

TEST_F(UploadTest, everyOutcomeKeepsOrDeletesTheRows) {
  const struct {
    int status;
    const char* body;
    int error;
    bool isDeleted;
  } cases[] = {
      {200, accepted, 0, true},
      {500, accepted, 0, true},  // The body decides.
      {200, R"({"success":false,"error_message":"quota"})", 0, false},
      {200, "{}", 0, false},
      {502, "<html>", 0, false},
      {200, "", 0, false},
      {0, "", kURLErrorNotConnectedToInternet, false},
      {0, "", kURLErrorTimedOut, false},
  };
  initialise();
  for (const auto& test : cases) {
    SCOPED_TRACE(std::to_string(test.status) + " " + test.body + " " + std::to_string(test.error));
    advance(5);
    report("a");
    forget();
    const Texts rows = storedEvents();
    if (test.error == 0) host.urlLoader.enqueue(test.status, test.body);
    if (test.error != 0) host.urlLoader.enqueueError(test.error);
    logger().reportEvents(false);

    EXPECT_EQ(log().front(), traced(185, " sending data " + rows.at(0), callback));
    EXPECT_EQ(log().back(), test.isDeleted ? "LumoraSDK-Reported all data successfully."
                                           : traced(209, "Failed to report events data", callback));
    EXPECT_EQ(requests(), Texts{uploadRequest});
    EXPECT_EQ(storedEvents(), test.isDeleted ? Texts() : rows);
    EXPECT_EQ(host.settings.flushedValues()["lmro.LastReport"], Value(host.clock.now()));
    EXPECT_FALSE(logger().isReporting());
    LMRDataManager::sharedInstance().cleanUpAppEvents();
  }
}

TEST_F(UploadTest, emptyQueueCountsAsAnAttempt) {
  initialise();
  advance(5);
  logger().reportEvents(false);
  EXPECT_EQ(log(), Texts{traced(180, "Lumra-No data available Failed to report data", callback)});
  EXPECT_EQ(requests(), Texts());
  EXPECT_EQ(host.settings.object("lmro.LastReport"), Value(host.clock.now()));
  EXPECT_FALSE(logger().isReporting());
}

TEST_F(UploadTest, forceSkipsTheGateOnly) {
  initialise();
  const Value last = host.settings.object("lmro.LastReport");
  report("a");
  advance(4.5);
  logger().reportEvents(false);
  EXPECT_EQ(log(), (Texts{traced(134, "lapsed from last report call 4.500000", "canReport]"),
                          traced(170, "Wait for some time")}));
  EXPECT_EQ(requests(), Texts());
  EXPECT_EQ(host.settings.object("lmro.LastReport"), last);
  EXPECT_EQ(storedEvents().size(), 1U);
  EXPECT_FALSE(logger().isReporting());

  logger().reportEvents(true);
  EXPECT_EQ(requests(), Texts{uploadRequest});
  EXPECT_EQ(storedEvents(), Texts());
}

TEST_F(UploadTest, duringAnUploadAnOrdinaryTriggerGivesUpAndAForcedOneWaits) {
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
  setNow(startSecond);
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
  EXPECT_EQ(sent[0].body, actionEvent("a"));
  EXPECT_EQ(sent[1].body, actionEvent("late"));
  EXPECT_EQ(storedEvents(), Texts());
  EXPECT_FALSE(logger().isReporting());
}

}  // namespace
}  // namespace lumora::tests
