#include <map>
#include <thread>

#include "lumora/Facade/LumoraActionMetaData.h"
#include "lumora/Platform/Linux/LinuxTaskQueues.h"
#include "tests/Facade/LumoraFixture.h"

namespace lumora::tests {
namespace {

constexpr int hostThreads = 4;
constexpr int roundsPerThread = 25;

/// The service: accepts two uploads of three, and counts how often each named event of those reached it.
class CountingService {
 public:
  URLResponse answer(const URLRequest& request) {
    Lock lock(mutex_);
    if (request.method == "POST") {
      if (++uploads_ % 3 == 0) return {200, {}, R"({"success":false})", std::nullopt};
      countEvents(request.body);
    }
    return {200, {}, accepted, std::nullopt};
  }

  /// Counts what was never accepted, and is still stored.
  void addStored(const std::string& events) {
    Lock lock(mutex_);
    countEvents(events);
  }

  int countOf(const std::string& name) {
    Lock lock(mutex_);
    return received_[name];
  }

 private:
  /// `body` holds one JSON text a line.
  void countEvents(std::string_view body) LUMORA_REQUIRES(mutex_) {
    while (!body.empty()) {
      const auto end = std::min(body.find('\n'), body.size());
      const auto event = parseJSON(body.substr(0, end));
      ASSERT_TRUE(event && event->asDictionary());
      if (const Value* name = findValue(*event->asDictionary(), "name")) ++received_[name->description()];
      body.remove_prefix(std::min(end + 1, body.size()));
    }
  }

  Mutex mutex_;
  int uploads_ LUMORA_GUARDED_BY(mutex_) = 0;
  std::map<std::string, int> received_ LUMORA_GUARDED_BY(mutex_);
};

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
  testing::FakePlatform host;
  LinuxMainQueue mainQueue;
  LinuxTaskQueues queues(mainQueue);
  installPlatform({host.settings, host.keychain, host.urlLoader, host.imageDecoder, queues, host.application,
                   host.bundle, host.alerts, host.notifications, host.device, host.files, host.clock,
                   host.log, host.uuids});
  CountingService service;
  host.urlLoader.setHandler([&service](const URLRequest& request) { return service.answer(request); });

  Lumora& lumora = Lumora::sharedInstance();
  std::vector<std::thread> threads;
  lumora.initializeWithTarrowID(account, secret);
  for (int thread = 0; thread < hostThreads; ++thread)
    threads.emplace_back(useLumora, std::ref(host), thread);
  for (std::thread& thread : threads) thread.join();
  lumora.serialQueue().sync([] {});
  lumora.serialInAppQueue().sync([] {});

  std::string rest;
  lumora.dataManager().getEventsDataWith([&rest](const std::string& events, const List&) { rest = events; });
  service.addStored(rest);
  for (int thread = 0; thread < hostThreads; ++thread) {
    for (int round = 0; round < roundsPerThread; ++round) {
      EXPECT_EQ(service.countOf(actionName(thread, round)), 1) << actionName(thread, round);
    }
  }
  EXPECT_FALSE(lumora.eventLogger().isReporting());
  EXPECT_FALSE(lumora.isSyncing());
}

}  // namespace
}  // namespace lumora::tests
