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

TYPED_TEST(ApplicationTest, CallsEachObserverRegisteredBeforeThePost) {
  std::string heard;
  const std::function<void()> handler = [&] { heard += "f"; };
  this->application.observe(LifecycleNotification::willEnterForeground, handler);
  this->application.observe(LifecycleNotification::willEnterForeground, handler);
  this->application.observe(LifecycleNotification::didEnterBackground, [&] {
    heard += "b";
    this->application.observe(LifecycleNotification::didEnterBackground, handler);
  });
  this->application.setState(ApplicationState::background);
  EXPECT_EQ(heard, "") << "the state alone tells nobody";
  this->application.post(LifecycleNotification::willEnterForeground);
  this->application.post(LifecycleNotification::didEnterBackground);
  EXPECT_EQ(heard, "ffb");
  this->application.post(LifecycleNotification::didEnterBackground);
  EXPECT_EQ(heard, "ffbbf");
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
  this->application.endBackgroundTask(third);
  this->application.endBackgroundTask(third);
  this->application.expireBackgroundTasks();
  EXPECT_EQ(expired, "1") << "the first ends the second, the third was over";
}

}  // namespace
}  // namespace lumora::testing
