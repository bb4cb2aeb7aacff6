#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cstdlib>
#include <memory>
#include <optional>
#include <thread>

#include "lumora/Facade/Lumora.h"
#include "lumora/Facade/LumoraKeeper.h"
#include "lumora/Platform/ForkedChild.h"
#include "lumora/Platform/Linux/LinuxPlatform.h"
#include "lumora/Platform/Linux/LinuxTaskQueues.h"
#include "lumora/Storage/LMRDataManager.h"
#include "tests/Support/TemporaryFolder.h"

/// What the parent's threads hold has nobody in a child: no leak of its.
extern "C" int __lsan_is_turned_off() {
  return lumora::isForkedChild() ? 1 : 0;
}

namespace lumora::testing {
namespace {

LinuxPlatformOptions optionsIn(const std::string& folder) {
  LinuxPlatformOptions options;
  options.documentsDirectory = folder + "/Documents";
  options.cachesDirectory = folder + "/Caches";
  options.settingsFile = folder + "/settings.json";
  options.keychainFile = folder + "/keychain";
  options.info["CFBundleShortVersionString"] = "1";
  options.connectTo = "127.0.0.1:1";
  return options;
}

/// Whatever a host may call; a child that waits for anything is killed.
void useInChild(LinuxPlatform& platform) {
  ::alarm(20);
  Lumora& lumora = Lumora::sharedInstance();
  lumora.initializeWithTarrowID("other", "other");
  lumora.reportAction("child");
  lumora.discardAllSessions();
  lumora.registerPushDeviceToken(Data{1});
  lumora.setTrackingConsent(Consent::denied);
  lumora.eraseAllData();
  const bool isFlushed = lumora.flush(std::chrono::seconds(30));
  lumora.shutdown(std::chrono::seconds(30));
  const std::string answers = lumora.getDeviceId() + lumora.getPushDeviceToken();
  platform.mainQueue().async([] {});
  if (isFlushed || !answers.empty() || platform.mainQueue().runPending() > 0) ::_exit(3);
}

int statusOf(pid_t child) {
  int status = -1;
  ::waitpid(child, &status, 0);
  return status;
}

/// Forks a busy host again and again; each child forks once more and both end normally.
void forkTheHost() {
  const TemporaryFolder folder;
  auto* const platform = new LinuxPlatform(optionsIn(folder.path()));
  installPlatform(platform->platform());
  Lumora& lumora = Lumora::sharedInstance();
  std::atomic<bool> isOver = false;
  std::atomic<int> actions = 0;
  std::thread busy([&] {
    lumora.initializeWithTarrowID("account", "secret");
    while (!isOver && actions < 900) {
      lumora.reportAction("parent");
      platform->platform().settings.setObject("n", ++actions);
      platform->platform().settings.synchronize();
    }
  });
  int failures = 0;
  for (int round = 0; round < 40; ++round) {
    const pid_t child = ::fork();
    if (child == 0) {
      useInChild(*platform);
      const pid_t grandchild = ::fork();
      if (grandchild == 0) useInChild(*platform);
      if (grandchild != 0 && statusOf(grandchild) != 0) ::_exit(4);
      // As at the end of a host that kept it in a variable.
      if (round % 2 == 0) delete platform;
      std::exit(0);
    }
    if (statusOf(child) != 0) ++failures;
  }
  isOver = true;
  busy.join();
  lumora.shutdown(std::chrono::seconds(30));
  int stored = 0;
  lumora.dataManager().getEventsDataWith([&](const std::string& text, const List&) {
    for (auto at = text.find("parent"); at != text.npos; at = text.find("parent", at + 1)) ++stored;
    if (text.find("child") != text.npos) ++failures;
  });
  std::fprintf(stderr, "failures: %d, %s", failures, stored == actions ? "all stored" : "some lost");
  std::exit(7);
}

TEST(HostProcessTest, aChildsCallsAndItsEndTouchNothingOfItsParents) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(forkTheHost(), ::testing::ExitedWithCode(7),
              "its calls are ignored(.|\n)*failures: 0, all stored");
}

int threadCount() {
  int count = 0;
  for ([[maybe_unused]] const auto& entry : std::filesystem::directory_iterator("/proc/self/task")) ++count;
  return count;
}

void shutTheHostDown() {
  const TemporaryFolder folder;
  std::thread([] {}).join();  // With the first thread a sanitizer starts one of its own.
  const int before = threadCount();
  auto keeper = std::optional<LumoraKeeper>();
  {
    LinuxPlatform platform(optionsIn(folder.path()));
    installPlatform(platform.platform());
    Lumora& lumora = Lumora::sharedInstance();
    lumora.setObserver(std::make_shared<LumoraObserver>(), [](const Task& task) { task(); });
    keeper.emplace();
    lumora.initializeWithTarrowID("account", "secret");
    lumora.reportAction("a");
    lumora.shutdown(std::chrono::milliseconds::max());
  }
  Lumora::sharedInstance().reportAction("late");
  keeper.emplace();
  keeper.reset();
  std::fprintf(stderr, "threads left: %d.", threadCount() - before);
  std::exit(7);
}

TEST(HostProcessTest, aHostMayEndItsPlatformAfterAShutdown) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(shutTheHostDown(), ::testing::ExitedWithCode(7), "calls are ignored(.|\n)*threads left: 0\\.");
}

}  // namespace
}  // namespace lumora::testing
