#include "lumora/Platform/Application.h"

#include <gtest/gtest.h>

#include "lumora/Platform/Linux/LinuxApplication.h"
#include "lumora/Testing/FakeApplication.h"

namespace lumora::testing {
namespace {

struct ActiveLinuxApplication : LinuxApplication {
  ActiveLinuxApplication() : LinuxApplication(ApplicationState::active, nullptr, nullptr) {}
};

template <typename Implementation>
struct ApplicationTest : ::testing::Test {
  Implementation application;
};

using Applications = ::testing::Types<FakeApplication, ActiveLinuxApplication>;
TYPED_TEST_SUITE(ApplicationTest, Applications);

TYPED_TEST(ApplicationTest, TellsEachObserverRegisteredBefore) {
  std::string heard;
  const auto change = LifecycleNotification::willEnterForeground;
  const std::function<void()> handler = [&] {
    heard += "a";
    this->application.observe(change, [&] { heard += "b"; });
  };
  for (int i = 0; i < 2; ++i) this->application.observe(change, handler);
  this->application.post(LifecycleNotification::didEnterBackground);
  for (int i = 0; i < 2; ++i) this->application.post(change);
  EXPECT_EQ(heard, "aaaabb");
}

TYPED_TEST(ApplicationTest, ExpiresTheBackgroundTasksThatStillRun) {
  std::string expired;
  Application::BackgroundTaskId second = 0;
  this->application.beginBackgroundTask([&] {
    expired += "1";
    this->application.endBackgroundTask(second);
  });
  second = this->application.beginBackgroundTask([&] { expired += "2"; });
  const auto third = this->application.beginBackgroundTask([&] { expired += "3"; });
  this->application.beginBackgroundTask(nullptr);
  for (int i = 0; i < 2; ++i) this->application.endBackgroundTask(third);
  this->application.expireBackgroundTasks();
  EXPECT_EQ(expired, "1") << "the first ends the second, the third was over";
}

}  // namespace
}  // namespace lumora::testing
