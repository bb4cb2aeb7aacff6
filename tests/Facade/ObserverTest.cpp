#include <filesystem>
#include <fstream>
#include <limits>
#include <stdexcept>

#include "lumora/Facade/LumoraActionMetaData.h"
#include "lumora/Facade/LumoraStatus.h"
#include "tests/Facade/NoticeList.h"

namespace lumora::tests {
namespace {

using Reason = LumoraError::Reason;

class ObserverTest : public LumoraTest {
 protected:
  /// What has been told since the last look.
  Texts told() {
    host.queues.runAll();
    return std::exchange(observer->notices, {});
  }

  const std::shared_ptr<NoticeList> observer = [] {
    auto list = std::make_shared<NoticeList>();
    lumora().setObserver(list);
    return list;
  }();
};

TEST_F(ObserverTest, TellsWhyAnInitialisationFails) {
  const std::string reply = R"({"success":false,"error_message":"no such account"})";
  const std::tuple<const char*, std::function<void()>, std::string> cases[] = {
      {"", [] {}, "failed credentialsMissing 0 "},
      {account, [&] { host.settings.setRefusesChanges(true); }, "failed credentialsNotStored 0 "},
      {account, [&] { host.bundle.setInfoValue("CFBundleShortVersionString", ""); },
       "failed applicationVersionMissing 0 "},
      {account, [&] { host.urlLoader.enqueueError(kURLErrorTimedOut, "slow"); }, "failed network -1001 slow"},
      {account, [&] { host.urlLoader.enqueue(502, "<html>"); }, "failed malformedAnswer 502 "},
      {account, [&] { host.urlLoader.enqueue(503, ""); }, "failed malformedAnswer 503 "},
      {account, [&] { host.urlLoader.enqueue(403, reply); }, "failed refused 403 no such account"},
      {account, [&] { host.urlLoader.enqueue(304, ""); }, "failed notModified 304 "}};
  for (const auto& [tarrow, prepare, expected] : cases) {
    SCOPED_TRACE(expected);
    prepare();
    lumora().initializeWithTarrowID(tarrow, secret);
    EXPECT_EQ(told(), Texts{expected});
    EXPECT_EQ(lumora().status().lastSync, std::nullopt) << "no initialisation has completed";
    host.settings.setRefusesChanges(false);
    host.bundle.setInfoValue("CFBundleShortVersionString", "1.0");
  }
  host.urlLoader.enqueue(200, R"({"success":true,"blocked":true})");
  lumora().initializeWithTarrowID(account, secret);
  EXPECT_EQ(told(), (Texts{"configuration 1 0", "failed blocked 0 "}));
  host.urlLoader.setHandler([](const URLRequest&) {
    lumora().setTrackingConsent(Consent::denied);
    return URLResponse{200, {}, accepted, std::nullopt};
  });
  lumora().initializeWithTarrowID(account, secret);
  EXPECT_EQ(told(), Texts{"failed aborted 0 "});
}

TEST_F(ObserverTest, TellsOfTheConfigurationUploadsAndLostEvents) {
  syncAnswer = R"({"success":true,"inapp":[{"cid":"c1"}]})";
  lumora().initializeWithTarrowID(account, secret);
  EXPECT_EQ(told(), (Texts{"configuration 0 1", "initialized", "uploaded 2 0", "dropped c1 status"}));

  auto bad = std::make_shared<LumoraActionMetaData>();
  bad->setActionMetadata({{"number", std::numeric_limits<double>::infinity()}});
  lumora().reportAction("bad", bad);
  EXPECT_EQ(told(), Texts{"lost notJSON 1"});

  host.urlLoader.setHandler([this](const URLRequest&) {
    advance(1.5);
    return URLResponse{0, {}, "", TransportError{std::string(kURLErrorDomain), -1004, "refused"}};
  });
  lumora().reportAction("good");
  lumora().reportAll();
  EXPECT_EQ(told(), Texts{"not uploaded network -1004"});
  host.urlLoader.setHandler([this](const URLRequest&) {
    advance(1.5);
    return URLResponse{200, {}, accepted, std::nullopt};
  });
  lumora().reportAll();
  EXPECT_EQ(told(), Texts{"uploaded 1 1500"});
}

TEST_F(ObserverTest, TellsEachEventThatIsLostOnce) {
  initialise();
  told();
  for (int count = 0; count < 999; ++count) lumora().reportAction("action");
  EXPECT_EQ(told(), Texts());
  for (int count = 0; count < 3; ++count) lumora().reportAction("action");
  EXPECT_EQ(told(), Texts{"lost queueFull 3"});  // They shared a transaction.

  // A file where the database's folder should be: nothing can be stored any more.
  const std::filesystem::path folder = host.files.documentsDirectory();
  std::filesystem::remove_all(folder);
  std::ofstream(folder) << "no folder";
  for (int count = 0; count < 2; ++count) lumora().reportAction("action");
  EXPECT_EQ(told(), (Texts{"lost storeFailed 1", "lost storeFailed 1"}));
}

TEST_F(ObserverTest, KeepsTheLast64WhileNobodyRunsTheMainQueue) {
  for (int count = 0; count < 100; ++count) lumora().initializeWithTarrowID("", secret);
  lumora().initializeWithTarrowID(account, secret);
  host.queues.runSerialQueues();
  const Texts notices = told();
  ASSERT_EQ(notices.size(), 64u);
  EXPECT_EQ(notices.front(), "failed credentialsMissing 0 ");
  EXPECT_EQ(notices.back(), "uploaded 2 0");
}

TEST_F(ObserverTest, WritesDownWhatItThrowsAndGoesOn) {
  struct Thrower : LumoraObserver {
    void initializationFailed(const LumoraError&) override {
      if (++calls == 1) throw std::runtime_error("no good");
      throw 7;
    }
    int calls = 0;
  };
  const auto thrower = std::make_shared<Thrower>();
  lumora().setObserver(thrower);
  for (int count = 0; count < 2; ++count) lumora().initializeWithTarrowID("", secret);
  host.queues.runAll();
  EXPECT_EQ(logWith("observer"), (Texts{"LumoraSDK-The observer has thrown an exception: no good",
                                        "LumoraSDK-The observer has thrown an exception."}));
}

TEST_F(ObserverTest, RunsOnTheHostsExecutorAndForgetsAnEarlierObserver) {
  std::vector<std::function<void()>> tasks;
  const auto second = std::make_shared<NoticeList>();
  lumora().initializeWithTarrowID("", secret);  // For the first observer, which is not there any more.
  lumora().setObserver(second, [&tasks](std::function<void()> task) { tasks.push_back(std::move(task)); });
  lumora().initializeWithTarrowID("", secret);
  lumora().initializeWithTarrowID(account, "");
  EXPECT_EQ(told(), Texts());
  ASSERT_EQ(tasks.size(), 1u);

  tasks.clear();  // An executor may drop what it is given: the next notice comes with what waits.
  lumora().initializeWithTarrowID("", secret);
  host.queues.runAll();
  ASSERT_EQ(tasks.size(), 1u);
  const auto last = tasks.front();
  last();
  last();
  EXPECT_EQ(second->notices, Texts(3, "failed credentialsMissing 0 "));

  lumora().initializeWithTarrowID("", secret);
  host.queues.runAll();
  lumora().setObserver(nullptr);
  tasks.back()();
  EXPECT_EQ(second->notices.size(), 3u);
}

TEST_F(ObserverTest, StatusIsASnapshotOfAllThis) {
  LumoraStatus status = lumora().status();
  EXPECT_FALSE(status.isInitialized || status.isBlocked || status.lastSync || status.lastUpload ||
               status.lastError);
  EXPECT_EQ(status.waitingEvents, 0u);

  initialise();
  host.urlLoader.enqueueError(kURLErrorCannotFindHost);
  advance(20);
  lumora().reportAction("one");  // Uploads by itself; the second comes too soon for that.
  lumora().reportAction("two");
  host.queues.runAll();
  advance(1);
  status = lumora().status();
  EXPECT_TRUE(status.isInitialized);
  EXPECT_EQ(status.waitingEvents, 2u);
  EXPECT_EQ(status.lastSync, dateFromSeconds(startSecond));
  EXPECT_EQ(status.lastUpload, dateFromSeconds(startSecond + 20));
  ASSERT_TRUE(status.lastError);
  EXPECT_EQ(status.lastError->operation, LumoraStatus::Operation::upload);
  EXPECT_EQ(status.lastError->error.code, kURLErrorCannotFindHost);
  EXPECT_EQ(status.lastError->date, dateFromSeconds(startSecond + 20));
}

}  // namespace
}  // namespace lumora::tests
