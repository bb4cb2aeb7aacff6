// Alerts, notifications and links as lines of output, and the person's answer to an alert. Message screens
// are in Screens.cpp.
#include "hosts/terminal/Display.h"

#include <utility>

namespace lumora_host {

using lumora::Value;

void Display::show(lumora::Alert alert) {
  JSONObject content;
  content.add("tag", alert.tag).add("title", alert.title).add("message", alert.message);
  content.add("buttons", lumora::List(alert.buttons.begin(), alert.buttons.end()));
  if (alert.textField) content.add("text", *alert.textField);
  output_.write(JSONObject().add("alert", content));
  alerts_.push_back(std::move(alert));
}

void Display::answerTopAlert(int buttonIndex, const std::optional<std::string>& text) {
  // The alert is gone before its button does anything: that may show the next one.
  const lumora::Alert alert = std::move(alerts_.back());
  alerts_.pop_back();
  if (!alert.onButton) return;
  alert.onButton(buttonIndex, alert.textField ? text.value_or(*alert.textField) : "");
}

void Display::schedule(const lumora::NotificationRequest& request) {
  JSONObject content;
  content.add("identifier", request.identifier).add("category", request.categoryIdentifier);
  content.add("body", request.body).add("badge", request.badge);
  content.add("user_info", request.userInfo).add("delay", request.delay);
  output_.write(JSONObject().add("notification", content));
  lastScheduled_ = request;
}

void Display::schedule(const lumora::LocalNotification& notification) {
  JSONObject content;
  content.add("category", notification.category).add("body", notification.alertBody);
  content.add("user_info", notification.userInfo ? Value(*notification.userInfo) : Value());
  output_.write(JSONObject().add("notification", content));
  lastScheduled_ = notification;
}

bool Display::open(const lumora::URL& url) {
  const bool isRefused = url.scheme() == "refuse";
  output_.write(JSONObject().add(isRefused ? "refused_url" : "opened_url", url.absoluteString()));
  return !isRefused;
}

}  // namespace lumora_host
