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
struct ApplicationTest : ::testing::Test, Implementation {};

using Applications = ::testing::Types<FakeApplication, ActiveLinuxApplication>;
TYPED_TEST_SUITE(ApplicationTest, Applications);

TYPED_TEST(ApplicationTest, TellsEachObserverRegisteredBefore) {
  std::string heard;
  const auto change = LifecycleNotification::willEnterForeground;
  const std::function<void()> handler = [&] {
    heard += "a";
    this->observe(change, [&] { heard += "b"; });
  };
  for (int i = 0; i < 2; ++i) this->observe(change, handler);
  this->post(LifecycleNotification::didEnterBackground);
  for (int i = 0; i < 2; ++i) this->post(change);
  EXPECT_EQ(heard, "aaaabb");
}

TYPED_TEST(ApplicationTest, ExpiresTheBackgroundTasksThatStillRun) {
  std::string expired;
  Application::BackgroundTaskId second = 0;
  this->beginBackgroundTask([&] {
    expired += "1";
    this->endBackgroundTask(second);
  });
  second = this->beginBackgroundTask([&] { expired += "2"; });
  this->beginBackgroundTask(nullptr);
  this->expireBackgroundTasks();
  EXPECT_EQ(expired, "1") << "the first ends the second";
}

}  // namespace
}  // namespace lumora::testing
