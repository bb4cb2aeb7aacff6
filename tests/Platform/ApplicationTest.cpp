#include "lumora/Platform/Application.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "lumora/Platform/Linux/LinuxApplication.h"
#include "lumora/Testing/FakeApplication.h"

namespace lumora::testing {
namespace {

struct LinuxHost : LinuxApplication {
  LinuxHost()
      : LinuxApplication(
            ApplicationState::active,
            [this](const URL& url) {
              opened_.push_back(url);
              return !refuses_;
            },
            nullptr) {}
  void setRefusesURLs(bool refuses) { refuses_ = refuses; }
  std::vector<URL> openedURLs() const { return opened_; }

 private:
  std::vector<URL> opened_;
  bool refuses_ = false;
};

template <typename Implementation>
class ApplicationTest : public ::testing::Test {
 protected:
  Implementation application;
};

using Applications = ::testing::Types<FakeApplication, LinuxHost>;
TYPED_TEST_SUITE(ApplicationTest, Applications);

TYPED_TEST(ApplicationTest, CallsEachRegistrationOfANotification) {
  std::string heard;
  const std::function<void()> handler = [&] { heard += "f"; };
  this->application.observe(LifecycleNotification::willEnterForeground, handler);
  this->application.observe(LifecycleNotification::willEnterForeground, handler);
  this->application.observe(LifecycleNotification::didEnterBackground, [&] { heard += "b"; });
  EXPECT_EQ(heard, "");
  this->application.post(LifecycleNotification::willEnterForeground);
  this->application.post(LifecycleNotification::didEnterBackground);
  EXPECT_EQ(heard, "ffb");
}

TYPED_TEST(ApplicationTest, AnObserverMayRegisterAnother) {
  int calls = 0;
  this->application.observe(LifecycleNotification::didEnterBackground, [&] {
    this->application.observe(LifecycleNotification::didEnterBackground, [&] { ++calls; });
  });
  this->application.post(LifecycleNotification::didEnterBackground);
  EXPECT_EQ(calls, 0);
  this->application.post(LifecycleNotification::didEnterBackground);
  EXPECT_EQ(calls, 1);
}

TYPED_TEST(ApplicationTest, StateChangesTellNobody) {
  int calls = 0;
  this->application.observe(LifecycleNotification::didEnterBackground, [&] { ++calls; });
  EXPECT_EQ(this->application.state(), ApplicationState::active);
  this->application.setState(ApplicationState::background);
  EXPECT_EQ(this->application.state(), ApplicationState::background);
  EXPECT_EQ(calls, 0);
}

TYPED_TEST(ApplicationTest, ExpiresTheBackgroundTasksThatStillRun) {
  std::string expired;
  Application::BackgroundTaskId second = 0;
  const auto first = this->application.beginBackgroundTask([&] {
    expired += "1";
    this->application.endBackgroundTask(second);
  });
  second = this->application.beginBackgroundTask([&] { expired += "2"; });
  const auto third = this->application.beginBackgroundTask([&] { expired += "3"; });
  this->application.beginBackgroundTask(nullptr);
  EXPECT_NE(first, second);
  this->application.endBackgroundTask(third);
  this->application.endBackgroundTask(third);
  this->application.expireBackgroundTasks();
  EXPECT_EQ(expired, "1") << "the first ends the second, the third was over";
}

TYPED_TEST(ApplicationTest, OpensURLsOrRefuses) {
  const URL url = *URL::parse("http://example.com/a?b=c");
  EXPECT_TRUE(this->application.openURL(url));
  this->application.setRefusesURLs(true);
  EXPECT_FALSE(this->application.openURL(url));
  EXPECT_EQ(this->application.openedURLs(), (std::vector<URL>{url, url}));
}

TYPED_TEST(ApplicationTest, HasNeitherBadgeNorWindowAtFirst) {
  EXPECT_EQ(this->application.iconBadgeNumber(), 0);
  EXPECT_EQ(this->application.rootViewController(), nullptr);
}

}  // namespace
}  // namespace lumora::testing
