#include <stdexcept>
#include <thread>
#include <tuple>

#include "lumora/Util/EventKeys.h"
#include "tests/Facade/LumoraFixture.h"
#include "tests/Storage/SQLiteConnection.h"
#include "tests/Support/FileSizeLimit.h"
#include "tests/Support/TestFiles.h"

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
  static inline const std::string sent = "LumoraSDK-Reported all data successfully.";
  static inline const std::string failed = traced(209, "Failed to report events data", callback);
  static inline const std::string alreadyReporting =
      traced(144, "Already reporting the event", "reportEvents:]");

  static void report(const std::string& name) {
    logger().reportCheckpoint(name, KEY_TYPE_CUSTOM, std::nullopt);
  }
};

TEST_F(UploadTest, withoutASecretNothingIsSent) {
  report("early");
  for (const bool force : {false, true}) logger().reportEvents(force);
  EXPECT_EQ(log(), Texts(2, traced(153, "Lumora is not initlized")));
  EXPECT_EQ(requests(), Texts());
  EXPECT_EQ(storedEvents().size(), 2U);  // With the client information.
  EXPECT_EQ(setting("lmro.LastReport"), "absent");
}

TEST_F(UploadTest, everyOutcomeKeepsOrDeletesTheRows) {
  initialise();
  for (const auto& [body, isDeleted] : {std::pair(accepted, true), std::pair("{}", false)}) {
    SCOPED_TRACE(body);
    advance(5);
    report("a");
    forget();
    const Texts rows = storedEvents();
    host.urlLoader.enqueue(200, body);
    logger().reportEvents(false);

    EXPECT_EQ(log().front(), traced(185, " sending data " + rows.at(0), callback));
    EXPECT_EQ(log().back(), isDeleted ? sent : failed);
    EXPECT_EQ(requests(), Texts{uploadRequest});
    EXPECT_EQ(storedEvents(), isDeleted ? Texts() : rows);
    EXPECT_EQ(host.settings.flushedValues()["lmro.LastReport"], Value(host.clock.now()));
    LMRDataManager::sharedInstance().cleanUpAppEvents();
  }
  advance(5);
  forget();
  logger().reportEvents(false);  // Without events it counts as an attempt all the same.
  EXPECT_EQ(log(), Texts{traced(180, "Lumra-No data available Failed to report data", callback)});
  EXPECT_EQ(host.settings.object("lmro.LastReport"), Value(host.clock.now()));
}

TEST_F(UploadTest, forceSkipsTheGateOnly) {
  initialise();
  const Value last = host.settings.object("lmro.LastReport");
  report("a");
  advance(4.5);
  logger().reportEvents(false);
  EXPECT_EQ(log(), (Texts{traced(134, "lapsed from last report call 4.500000", "canReport]"),
                          traced(170, "Wait for some time")}));
  EXPECT_EQ(host.settings.object("lmro.LastReport"), last);
  EXPECT_FALSE(logger().isReporting());
  logger().reportEvents(true);
  EXPECT_EQ(requests(), Texts{uploadRequest});

  // A time more than a day ahead was stored while the clock stood wrong.
  for (const auto& [secondsAhead, mayReport] : {std::pair(86400, false), std::pair(86401, true)}) {
    setNow(startSecond);
    host.settings.setObject("lmro.LastReport", dateFromSeconds(startSecond + secondsAhead));
    EXPECT_EQ(logger().canReport(), mayReport);
  }
}

TEST_F(UploadTest, processesUploadOneAfterTheOther) {
  constexpr int noLocks = -1;
  const std::string busy = "LumoraSDK-Another process of this application is still uploading.";
  const std::string unlocked =
      "LumoraSDK-There are no file locks beside the database, uploading without one.";
  // Whether it is forced, the seconds the other holds the lock and this one waits, and the lines.
  const std::tuple<bool, int, int, Texts> cases[] = {
      {false, 60, 0, {alreadyReporting}},    {true, 60, 15, {busy, failed}}, {true, 7, 7, {sent}},
      {false, noLocks, 0, {unlocked, sent}}, {true, noLocks, 0, {sent}},
  };
  initialise();
  host.queues.setMainThread(false);
  const std::string path = LMRDataManager::sharedInstance().lockFilePath();
  for (const auto& [force, secondsOtherHolds, secondsWaited, expected] : cases) {
    SCOPED_TRACE(expected.front());
    advance(60);
    report("a");
    forget();
    const Value last = host.settings.object("lmro.LastReport");
    const Date begin = host.clock.now();
    const Date end = begin + std::chrono::seconds(secondsOtherHolds);
    host.sharedFiles.setLocksUnsupported(secondsOtherHolds == noLocks);
    if (secondsOtherHolds > 0) host.sharedFiles.tryLock(path);
    host.clock.setSleepHook([&](std::chrono::milliseconds) {
      if (host.clock.now() >= end) host.sharedFiles.unlock(path);
    });
    logger().reportEvents(force);
    host.sharedFiles.unlock(path);
    const bool isSent = expected.back() == sent;
    EXPECT_EQ(host.clock.now() - begin, std::chrono::seconds(secondsWaited));
    EXPECT_EQ(requests().size(), isSent ? 1U : 0U);
    EXPECT_EQ(storedEvents().empty(), isSent);
    EXPECT_EQ(isSent ? logWith("LumoraSDK-") : log(), expected);
    EXPECT_EQ(host.settings.object("lmro.LastReport") == last, expected.front() == alreadyReporting);
  }
}

TEST_F(UploadTest, aCorruptDatabaseIsReplacedByTheUploadThatFindsIt) {
  initialise();
  host.queues.setMainThread(false);
  testing::writeFile(host.files.documentsDirectory() + "/ostrelab.sqlite", std::string(8192, 'x'));
  logger().reportEvents(true);
  EXPECT_EQ(host.clock.now(), dateFromSeconds(startSecond));  // Without waiting for its own lock.
  report("a");
  EXPECT_EQ(storedEvents(), Texts{actionEvent("a")});
}

TEST_F(UploadTest, whatWasSentButCannotBeDeletedIsNotSentAgain) {
  initialise();
  for (const char* name : {"a", "b"}) report(name);
  std::optional<testing::FileSizeLimit> fullDisk;
  host.urlLoader.setHandler([&](const URLRequest&) {
    fullDisk.emplace(0);
    return URLResponse{200, {}, accepted, std::nullopt};
  });
  for (int round = 0; round < 3; ++round) logger().reportEvents(true);
  EXPECT_EQ(requests(), Texts{uploadRequest});
  EXPECT_EQ(logWith("Sent events"),
            Texts{"LumoraSDK-Sent events that cannot be deleted: 2 (disk I/O error)"});
  fullDisk.reset();
  // Both ids are given out again: one by another process, the other for the same text.
  const std::string other = actionEvent("of another process");
  SQLiteConnection(host.files.documentsDirectory() + "/ostrelab.sqlite")
      .run("UPDATE ostrel_events SET event = '" + other +
           "' WHERE _id = 1; DELETE FROM ostrel_events WHERE _id = 2");
  report("b");
  logger().reportEvents(true);
  EXPECT_EQ(host.urlLoader.requests().back().body, other + "\n" + actionEvent("b"));
  fullDisk.reset();
  EXPECT_EQ(storedEvents(), Texts());
}

TEST_F(UploadTest, anExceptionOnTheWayLeavesNoFlagSet) {
  host.urlLoader.setHandler([](const URLRequest&) -> URLResponse { throw std::runtime_error("loader"); });
  initializeAndRun();
  EXPECT_FALSE(lumora().makingInitCall());
  rememberEarlierRun("1.0", account, secret);
  initializeAndRun();
  EXPECT_TRUE(lumora().sdkInitialized());
  EXPECT_FALSE(logger().isReporting());
  LMRDataManager::sharedInstance().cleanUpAppEvents();  // Without an upload the resync comes to its request.
  lumora().appWillEnterForeground();
  host.queues.runAll();
  EXPECT_EQ(requests().back(), syncRequest);
  EXPECT_FALSE(lumora().isSyncing());
}

TEST_F(UploadTest, anUploadCarriesEveryRowAndHoldsUpOnlyAForcedOne) {
  initialise();
  for (const char* name : {"a", "b"}) report(name);
  advance(60);
  host.urlLoader.hold();
  std::thread uploader([] { logger().reportEvents(false); });
  host.urlLoader.waitForHeldRequests();

  EXPECT_TRUE(logger().isReporting());
  host.log.clear();
  setNow(startSecond);
  // Whatever waited here would wait for ever: the upload is released below.
  logger().reportEvents(false);
  EXPECT_EQ(log(), Texts{alreadyReporting});
  lumora().discardAllSessions();
  logger().startAppSession();
  logger().reportInappWithSubType("tapped", "c");
  report("late");
  EXPECT_EQ(storedEvents().size(), 5U);
  std::thread second([] { logger().reportEvents(true); });
  EXPECT_EQ(requests().size(), 1U);
  host.urlLoader.release();
  uploader.join();
  second.join();

  const auto uploads = host.urlLoader.requests();
  ASSERT_EQ(uploads.size(), 2U);
  EXPECT_EQ(uploads[0].url, "https://account.lumora.example/report/events/");
  EXPECT_EQ(uploads[0].body, actionEvent("a") + "\n" + actionEvent("b"));
  EXPECT_EQ(lines(uploads[1].body).at(2), actionEvent("late"));
  EXPECT_EQ(storedEvents(), Texts());
  EXPECT_FALSE(logger().isReporting());
}

}  // namespace
}  // namespace lumora::tests
