#include <gtest/gtest.h>

#include "lumora/Platform/Linux/LinuxAlerts.h"
#include "lumora/Platform/Linux/LinuxNotifications.h"
#include "lumora/Testing/FakeAlerts.h"
#include "lumora/Testing/FakeNotifications.h"
#include "lumora/Testing/FakeSystemLog.h"

namespace lumora::testing {
namespace {

TEST(FakeAlertsTest, AnswersTheNewestAlertFirst) {
  std::string answers;
  const auto onButton = [&](int button, const std::string& text) {
    answers += std::to_string(button) + text + " ";
  };
  FakeAlerts alerts;
  EXPECT_FALSE(alerts.answer(0));
  alerts.show(
      {.tag = 1, .title = {}, .message = {}, .buttons = {"OK"}, .textField = "old", .onButton = onButton});
  alerts.show(
      {.tag = 2, .title = {}, .message = {}, .buttons = {"OK"}, .textField = {}, .onButton = onButton});
  alerts.show(
      {.tag = 3, .title = {}, .message = {}, .buttons = {}, .textField = "old", .onButton = onButton});
  alerts.show({});
  EXPECT_EQ(alerts.shown().size(), 4U);
  EXPECT_TRUE(alerts.answer(0));
  EXPECT_TRUE(alerts.answer(1, "new"));
  EXPECT_TRUE(alerts.answer(2, "not asked for"));
  EXPECT_TRUE(alerts.answer(3));
  EXPECT_EQ(answers, "1new 2 3old ");
}

TEST(LinuxAlertsTest, WithoutAPresenterTheLogShowsThem) {
  FakeSystemLog log;
  LinuxAlerts(nullptr, log)
      .show({.tag = 1,
             .title = "Title",
             .message = "Message",
             .buttons = {"No", "Yes"},
             .textField = {},
             .onButton = {}});
  ASSERT_EQ(log.messages().size(), 1U);
  for (const char* part : {"Title", "Message", "No", "Yes"}) {
    EXPECT_NE(log.messages().front().find(part), std::string::npos) << part;
  }
}

/// What the completion was called with: "pending", "success" or the error.
std::string outcomeOf(Notifications& notifications) {
  std::string outcome = "pending";
  notifications.addNotificationRequest(
      {.identifier = "id", .categoryIdentifier = {}, .body = {}, .userInfo = {}},
      [&](const auto& error) { outcome = error.value_or("success"); });
  notifications.addNotificationRequest({}, nullptr);
  return outcome;
}

TEST(NotificationsTest, RequestsComeToAnEnd) {
  FakeNotifications fake;
  EXPECT_EQ(outcomeOf(fake), "success");
  EXPECT_EQ(fake.requests().front().identifier, "id");
  fake.setError("no");
  EXPECT_EQ(outcomeOf(fake), "no");
  EXPECT_EQ(fake.requests().size(), 2U) << "the failed ones are not kept";
  LinuxNotifications without(nullptr, nullptr);
  EXPECT_EQ(outcomeOf(without), "The host schedules no notifications.");
  without.scheduleLocalNotification({});
  std::string scheduled;
  LinuxNotifications with(
      [&](const NotificationRequest& request, const LinuxNotifications::Completion& completion) {
        scheduled += "request " + request.identifier + " ";
        if (completion) completion(std::nullopt);
      },
      [&](const LocalNotification& notification) { scheduled += "local " + notification.category; });
  EXPECT_EQ(outcomeOf(with), "success");
  LocalNotification local;
  local.category = "c";
  with.scheduleLocalNotification(local);
  EXPECT_EQ(scheduled, "request id request  local c");
}

}  // namespace
}  // namespace lumora::testing
