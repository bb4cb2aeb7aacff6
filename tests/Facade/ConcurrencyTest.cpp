#include <thread>

#include "lumora/Facade/LumoraActionMetaData.h"
#include "lumora/Platform/Linux/LinuxTaskQueues.h"
#include "tests/Facade/LumoraFixture.h"

namespace lumora::tests {
namespace {

constexpr int hostThreads = 4;
constexpr int roundsPerThread = 25;

std::string actionName(int thread, int round) {
  return "action " + std::to_string(thread) + "-" + std::to_string(round);
}

/// What a host's thread does; the clock moves on so that uploads are due all the time.
void useLumora(testing::FakePlatform& host, int thread) {
  Lumora& lumora = Lumora::sharedInstance();
  auto metaData = std::make_shared<LumoraActionMetaData>();
  for (int round = 0; round < roundsPerThread; ++round) {
    const std::string session = "session " + std::to_string(round % 3);
    lumora.startSession(session);
    lumora.reportAction(actionName(thread, round), metaData);
    metaData->setMetric(round);  // While the task of the call above may be reading it.
    host.clock.advance(std::chrono::seconds(2));
    lumora.endSession(session);
    if (round % 5 == thread) lumora.discardAllSessions();
    if (round % 7 == thread) lumora.reportAll();
    if (round % 10 == thread) host.application.post(LifecycleNotification::willEnterForeground);
    LMREventLogger::sharedInstance().reportInappWithSubType("tapped", "c");
    if (round % 6 == thread) LMREventLogger::sharedInstance().reportEvents(round % 2 == 0);
  }
}

TEST(ConcurrencyTest, everyActionIsSentOrStoredExactlyOnce) {
  Mutex mutex;
  int uploads = 0;
  std::string records;  // What the service accepted, one JSON text a line.
  testing::FakePlatform host;
  LinuxMainQueue mainQueue;
  LinuxTaskQueues queues(mainQueue);
  installPlatform(platformWith(host.platform(), queues));
  host.urlLoader.setHandler([&](const URLRequest& request) -> URLResponse {
    Lock lock(mutex);
    if (request.method == "POST") {
      if (++uploads % 3 == 0) return {200, {}, R"({"success":false})", std::nullopt};
      records += request.body + "\n";
    }
    return {200, {}, accepted, std::nullopt};
  });

  Lumora& lumora = Lumora::sharedInstance();
  std::vector<std::thread> threads;
  lumora.initializeWithTarrowID(account, secret);
  for (int thread = 0; thread < hostThreads; ++thread)
    threads.emplace_back(useLumora, std::ref(host), thread);
  for (std::thread& thread : threads) thread.join();
  lumora.serialQueue().sync([] {});
  lumora.serialInAppQueue().sync([] {});
  EXPECT_FALSE(lumora.eventLogger().isReporting() || lumora.isSyncing());

  // With what was never accepted, and is still stored.
  lumora.dataManager().getEventsDataWith([&](const std::string& rest, const List&) { records += rest; });
  std::istringstream lines(records);
  for (std::string line; std::getline(lines, line);) EXPECT_TRUE(parseJSON(line)) << line;
  for (int round = 0; round < hostThreads * roundsPerThread; ++round) {
    const std::string name = actionName(round % hostThreads, round / hostThreads);
    const auto found = records.find('"' + name + '"');
    EXPECT_TRUE(found != records.npos && found == records.rfind('"' + name + '"')) << name;
  }
}

}  // namespace
}  // namespace lumora::tests
