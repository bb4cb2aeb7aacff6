#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <string>
#include <string_view>
#include <vector>

#include "lumora/Events/LMREventLogger.h"
#include "lumora/Facade/Lumora.h"
#include "lumora/Platform/JSON.h"
#include "lumora/Storage/LMRDataManager.h"
#include "lumora/Testing/FakePlatform.h"
#include "lumora/Util/LMRSettingsKeys.h"

namespace lumora::tests {

inline constexpr const char* accepted = R"({"success":true})";
inline constexpr const char* account = "account";
inline constexpr const char* secret = "secret";
/// The second at which a fake clock begins.
inline constexpr long startSecond = 1496318400;

/// The library on fakes. Its shared instances live as long as the process, so every test has a process of its
/// own; a table inside a test continues from the state that its earlier rows left.
class LumoraTest : public ::testing::Test {
 protected:
  LumoraTest() {
    host.urlLoader.setHandler([this](const URLRequest& request) {
      return URLResponse{200, {}, request.method == "GET" ? syncAnswer : accepted, std::nullopt};
    });
  }

  static Lumora& lumora() { return Lumora::sharedInstance(); }
  static LMREventLogger& logger() { return LMREventLogger::sharedInstance(); }

  /// A first run that the service accepts; afterwards nothing is stored and the fakes remember nothing.
  void initialise() {
    lumora().initializeWithTarrowID(account, secret);
    host.queues.runAll();
    ASSERT_TRUE(lumora().sdkInitialized());
    ASSERT_EQ(storedEvents(), Texts());
    forget();
  }

  /// What an earlier run with this version and these credentials left behind.
  void rememberEarlierRun(const Value& version, const Value& tarrowID, const Value& appSecret) {
    const auto remember = [this](std::string_view key, const Value& value) {
      if (!value.isNull()) host.settings.setObject(key, value);
    };
    remember(kLmroAppVersion, version);
    remember(kLmroTarrowID, tarrowID);
    remember(kLmroAppSecret, appSecret);
    remember(kLmroInit, true);
  }

  void forget() {
    host.log.clear();
    host.urlLoader.clearRequests();
  }

  void advance(double seconds) { host.clock.advance(std::chrono::microseconds(std::llround(seconds * 1e6))); }
  void setNow(double seconds) { host.clock.setNow(dateFromSeconds(seconds)); }

  using Texts = std::vector<std::string>;

  static Texts storedEvents() {
    Texts events;
    LMRDataManager::sharedInstance().getEventsDataWith([&events](const std::string& text, const List& ids) {
      events = lines(text);
      EXPECT_EQ(events.size(), ids.size());
    });
    return events;
  }

  static Texts lines(std::string_view text) {
    Texts found;
    while (!text.empty()) {
      const auto end = std::min(text.find('\n'), text.size());
      found.emplace_back(text.substr(0, end));
      text.remove_prefix(std::min(end + 1, text.size()));
    }
    return found;
  }

  /// The requests so far, each as its method and its path.
  Texts requests() const {
    Texts found;
    for (const URLRequest& request : host.urlLoader.requests()) {
      const auto path = request.url.find('/', std::string_view("https://").size());
      found.push_back(request.method + " " + request.url.substr(path));
    }
    return found;
  }

  /// The log so far, without the line that announces this installation's identifier.
  Texts log() const {
    Texts messages = host.log.messages();
    std::erase_if(messages,
                  [](const std::string& line) { return line.starts_with("LumoraSDK-Current UUID is : "); });
    return messages;
  }

  Texts logWith(std::string_view part) const {
    Texts messages = log();
    std::erase_if(messages, [part](const std::string& line) { return line.find(part) == std::string::npos; });
    return messages;
  }

  /// A setting as JSON text; "absent" for one that is not there.
  std::string setting(std::string_view key) const {
    const Value value = host.settings.object(key);
    if (value.isNull()) return "absent";
    return writeJSON(value).value_or(value.description());
  }

  testing::FakePlatform& host = testing::FakePlatform::install();
  std::string syncAnswer = accepted;
};

}  // namespace lumora::tests
