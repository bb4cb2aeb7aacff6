#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <sstream>

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
  /// The facade's, which has wired the observers.
  static LMREventLogger& logger() { return lumora().eventLogger(); }

  void initializeAndRun() {
    lumora().initializeWithTarrowID(account, secret);
    host.queues.runAll();
  }

  /// A first run that the service accepts; afterwards nothing is stored and the fakes remember nothing.
  void initialise() {
    initializeAndRun();
    ASSERT_TRUE(lumora().sdkInitialized());
    ASSERT_EQ(storedEvents(), Texts());
    forget();
  }

  /// What an earlier run with this version and these credentials left behind.
  void rememberEarlierRun(const Value& version, const Value& tarrowID, const Value& appSecret) {
    for (const auto& [key, value] : {std::pair(kLmroAppVersion, version), std::pair(kLmroTarrowID, tarrowID),
                                     std::pair(kLmroAppSecret, appSecret)}) {
      if (!value.isNull()) host.settings.setObject(key, value);
    }
    host.settings.setObject(kLmroInit, true);
  }

  void forget() {
    host.log.clear();
    host.urlLoader.clearRequests();
  }

  void resync(double secondsLater) {
    advance(secondsLater);
    forget();
    lumora().appWillEnterForeground();
    host.queues.runAll();
  }

  void advance(double seconds) { host.clock.advance(std::chrono::microseconds(std::llround(seconds * 1e6))); }
  void setNow(double seconds) { host.clock.setNow(dateFromSeconds(seconds)); }

  using Texts = std::vector<std::string>;

  static inline const std::string uploadRequest = "POST /report/events/";
  static inline const std::string syncRequest = "GET /api/v1/sync/secret?lst=0";

  static std::string sessionEvent(const std::string& name, std::int64_t duration, std::int64_t timestamp) {
    return R"({"duration":)" + std::to_string(duration) + R"(,"event_type":"session","name":")" + name +
           R"(","timestamp":)" + std::to_string(timestamp) + R"(,"type":"internal"})";
  }
  static std::string appOpenEvent(long timestamp = startSecond) {
    return R"({"event_type":"checkpoint","name":"lmr_app_open","timestamp":)" + std::to_string(timestamp) +
           R"(,"type":"internal"})";
  }
  /// What reporting an action at the start second stores.
  static std::string actionEvent(const std::string& name, const std::string& metadata = "") {
    return R"({"event_type":"checkpoint",)" + (metadata.empty() ? "" : R"("metadata":)" + metadata + ",") +
           R"("name":")" + name + R"(","timestamp":1496318400,"type":"custom"})";
  }

  static Texts storedEvents() {
    Texts events;
    LMRDataManager::sharedInstance().getEventsDataWith([&events](const std::string& text, const List& ids) {
      events = lines(text);
      EXPECT_EQ(events.size(), ids.size());
    });
    return events;
  }

  static Texts lines(const std::string& text) {
    Texts found;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) found.push_back(line);
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
    return value.isNull() ? "absent" : writeJSON(value).value_or(value.description());
  }

  testing::FakePlatform& host = testing::FakePlatform::install();
  std::string syncAnswer = accepted;
};

}  // namespace lumora::tests
