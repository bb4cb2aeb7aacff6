// What a phone shows, read from its host's output. Its process and commands are in Phone.cpp.
#include <algorithm>
#include <cstdlib>
#include <utility>

#include "service/Phone.h"
#include "service/Pictures.h"

namespace lumora::service {
namespace {

constexpr std::size_t kMostLogLines = 3000;
constexpr std::size_t kLongestLogLine = 8192;
constexpr std::size_t kMostShown = 20;

/// The developer's lines begin so; all others are the trace.
constexpr std::string_view kDeveloperLine = "LumoraSDK-";

std::string wordAt(const CommandWords& words, std::size_t index) {
  return index < words.size() && words[index] ? *words[index] : std::string();
}

/// Adds to a list that keeps its newest entries.
void addTo(JSON& list, JSON entry) {
  list.push_back(std::move(entry));
  if (list.size() > kMostShown) list.erase(list.begin());
}

}  // namespace

JSON Phone::describe() const {
  JSON result = jsonOf(settings_);
  result.update(seen_);
  return result;
}

JSON Phone::description() const {
  const Lock lock(mutex_);
  return describe();
}

void Phone::tellState() {
  JSON now = describe();
  if (now == told_) return;
  world_.feed.tell("phone", now);
  told_ = std::move(now);
}

JSON Phone::screen() const {
  JSON description;
  {
    const Lock lock(mutex_);
    description = screen_;
  }
  return description.is_null() ? description
                               : withPictures(std::move(description), directory_ + "/app/Caches");
}

void Phone::take(const std::string& line) {
  const JSON output = JSON::parse(line, nullptr, false);
  if (!output.is_object() || output.empty()) return takeLog(line);
  const Lock lock(mutex_);
  if (output.contains("done") || output.contains("error")) {
    takeAnswer(output);
  } else {
    takeOutput(output);
  }
  tellState();
}

void Phone::takeOutput(const JSON& output) {
  const auto [name, content] = std::pair(output.begin().key(), output.begin().value());
  if (name == "alert") {
    JSON alert = content;
    alert["n"] = ++lastNumber_;
    seen_["alerts"].push_back(std::move(alert));
  } else if (name == "screen") {
    screen_ = content;
    seen_["screen"] = ++lastNumber_;
  } else if (name == "dismissed") {
    screen_ = nullptr;
    seen_.erase("screen");
  } else if (name == "notification") {
    JSON notification = content;
    notification["n"] = ++lastNumber_;
    addTo(seen_["notifications"], std::move(notification));
  } else if (name == "opened_url" || name == "refused_url") {
    addTo(seen_["opened"], {{"n", ++lastNumber_}, {"url", content}, {"refused", name == "refused_url"}});
  }
}

void Phone::takeAnswer(const JSON& answer) {
  if (pending_.empty()) return;
  const auto pending = pending_.front();
  pending_.pop_front();
  if (answer.contains("done")) noteEffect(*pending, answer.value("result", JSON()));
  pending->answer.set_value(answer);
}

/// What the host does not say by itself.
void Phone::noteEffect(const Pending& pending, const JSON& result) {
  const std::string word = wordAt(pending.words, 0);
  const std::string first = wordAt(pending.words, 1);
  if (word != "setting") seen_["commands"] = seen_.value("commands", 0) + 1;
  // What comes before the initialisation repeats what was set in an earlier launch.
  if (word == "advance" && seen_.contains("initialised"))
    settings_.ahead += std::strtod(first.c_str(), nullptr);
  if (word == "network") settings_.isOnline = first == "online";
  if (word == "background") seen_["state"] = "background";
  if (word == "foreground") seen_["state"] = "active";
  if (word == "state") seen_["state"] = first;
  if (word == "init") seen_["initialised"] = true;
  if (word == "device-id") seen_["device"] = result;
  if (word == "push-token") seen_["token"] = result;
  if (word == "register-push") seen_["token"] = first;
  if (word == "unregister-push") seen_["token"] = nullptr;
  if (word == "answer" && result == true) forgetAlert(pending.alert);
}

void Phone::forgetAlert(std::uint64_t number) {
  JSON& alerts = seen_["alerts"];
  const auto answered = std::ranges::find_if(
      alerts, [number](const JSON& alert) { return alert.value("n", std::uint64_t{0}) == number; });
  if (answered != alerts.end()) alerts.erase(answered);
}

void Phone::takeLog(std::string line) {
  if (line.size() > kLongestLogLine) line = line.substr(0, kLongestLogLine) + "…";
  const Lock lock(mutex_);
  log_.push_back({++lastLogLine_, std::move(line)});
  if (log_.size() > kMostLogLines) log_.pop_front();
  // One message until somebody has looked: a trace has hundreds of lines in a second.
  if (std::exchange(isLogTold_, true)) return;
  world_.feed.tell("log", {{"phone", settings_.id}, {"last", lastLogLine_}});
}

JSON Phone::log(std::uint64_t after) {
  JSON lines = JSON::array();
  const Lock lock(mutex_);
  isLogTold_ = false;
  for (const LogLine& line : log_) {
    if (line.number <= after) continue;
    lines.push_back(
        {{"n", line.number}, {"text", line.text}, {"trace", !line.text.starts_with(kDeveloperLine)}});
  }
  return lines;
}

void Phone::takeEnd(int status, int signal) {
  const Lock lock(mutex_);
  for (const auto& pending : pending_)
    pending->answer.set_value({{"error", "The phone's application has ended."}});
  pending_.clear();
  screen_ = nullptr;
  const JSON device = seen_.value("device", JSON());
  seen_ = {{"status", "ended"}, {"exit", status}, {"signal", signal}, {"device", device}};
  tellState();
}

}  // namespace lumora::service
