// What a C caller may do wrong, and what it gets for it; what crosses the border arrives as it was.
#include <gtest/gtest.h>

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <functional>
#include <string>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

#include "lumora/C/lumora.h"
#include "lumora/Facade/Lumora.h"
#include "lumora/Platform/JSON.h"
#include "lumora/Storage/LMRDataManager.h"
#include "lumora/Testing/FakePlatform.h"

namespace {

using lumora::testing::FakePlatform;

const lumora_text kNotUTF8{"\xff", 1};
const lumora_text kNoBytes{nullptr, 3};

class CInterfaceTest : public ::testing::Test {
 protected:
  /// What is stored, as one JSON text.
  std::string stored() {
    host_.queues.runAll();
    std::string text;
    lumora::LMRDataManager::sharedInstance().getEventsDataWith(
        [&](const std::string& events, const lumora::List&) { text = events; });
    return text;
  }

  FakePlatform& host_ = FakePlatform::install();
};

TEST_F(CInterfaceTest, AHandleIsOnlyGoodForItsOwnKindAndUntilItIsFreed) {
  const lumora_map map = lumora_map_new();
  const lumora_list list = lumora_list_new();
  const lumora_action action = lumora_action_new();
  const lumora_lead lead = lumora_lead_new();
  const lumora_text text = lumora_string("x");
  const std::vector<std::function<lumora_result(lumora_handle)>> uses{
      [&](auto handle) { return lumora_map_set_text(handle, text, text); },
      [&](auto handle) { return lumora_list_add_text(handle, text); },
      [&](auto handle) { return lumora_action_set_text(handle, text, text); },
      [&](auto handle) { return lumora_lead_set_text(handle, text, text); }};
  const std::vector<lumora_handle> handles{map, list, action, lead, LUMORA_NONE, ~std::uint64_t{0}, map + 1};
  for (std::size_t use = 0; use < uses.size(); ++use) {
    for (std::size_t at = 0; at < handles.size(); ++at) {
      EXPECT_EQ(uses[use](handles[at]), use == at ? LUMORA_OK : LUMORA_BAD_HANDLE) << use << ", " << at;
    }
  }
  EXPECT_EQ(lumora_free(map), LUMORA_OK);
  EXPECT_EQ(lumora_free(map), LUMORA_BAD_HANDLE);
  const lumora_map next = lumora_map_new();  // In the same place.
  EXPECT_EQ(lumora_map_set_bool(map, text, true), LUMORA_BAD_HANDLE);
  EXPECT_EQ(lumora_map_set_bool(next, text, true), LUMORA_OK);
  EXPECT_EQ(lumora_free(LUMORA_NONE), LUMORA_OK);
}

TEST_F(CInterfaceTest, AHandleMayBeFreedWhileOtherThreadsUseIt) {
  std::atomic<lumora_action> shared = lumora_action_new();
  std::atomic<bool> ends = false;
  std::atomic<int> odd = 0;
  const auto use = [&] {
    while (!ends) {
      const lumora_result result = lumora_action_set_metric(shared, 1);
      if (result != LUMORA_OK && result != LUMORA_BAD_HANDLE) ++odd;
    }
  };
  std::vector<std::thread> users;
  for (int i = 0; i < 3; ++i) users.emplace_back(use);
  for (int i = 0; i < 1000; ++i) {
    EXPECT_EQ(lumora_free(shared.exchange(lumora_action_new())), LUMORA_OK);
  }
  ends = true;
  for (std::thread& user : users) user.join();
  EXPECT_EQ(odd, 0);
  EXPECT_EQ(lumora_free(shared), LUMORA_OK);
}

TEST_F(CInterfaceTest, BadArgumentsChangeNothing) {
  const lumora_map map = lumora_map_new();
  const lumora_text key = lumora_string("key");
  char small[3];
  std::size_t length = 0;
  lumora_map made = 7;
  EXPECT_EQ(lumora_map_set_text(map, kNotUTF8, key), LUMORA_BAD_TEXT);
  EXPECT_EQ(lumora_map_set_text(map, key, kNoBytes), LUMORA_BAD_TEXT);
  EXPECT_EQ(lumora_map_set_text(map, {nullptr, 0}, key), LUMORA_BAD_TEXT);
  EXPECT_EQ(lumora_map_set_data(map, key, {nullptr, 1}), LUMORA_BAD_ARGUMENT);
  EXPECT_EQ(lumora_map_set_map(map, key, LUMORA_NONE), LUMORA_BAD_HANDLE);
  EXPECT_EQ(lumora_map_from_json(lumora_string("[1]"), &made), LUMORA_BAD_JSON);
  EXPECT_EQ(made, LUMORA_NONE);
  EXPECT_EQ(lumora_map_from_json(lumora_string("{}"), nullptr), LUMORA_BAD_ARGUMENT);
  EXPECT_EQ(lumora_report_action_json(key, lumora_string("{")), LUMORA_BAD_JSON);
  EXPECT_EQ(lumora_report_action(kNotUTF8, LUMORA_NONE), LUMORA_BAD_TEXT);
  EXPECT_EQ(lumora_notification_tapped(nullptr), LUMORA_BAD_ARGUMENT);
  EXPECT_EQ(lumora_open_url(lumora_string("not a url"), nullptr), LUMORA_BAD_ARGUMENT);
  EXPECT_EQ(lumora_install(nullptr), LUMORA_ALREADY_INSTALLED);
  EXPECT_EQ(lumora_main_async(nullptr, nullptr, nullptr), LUMORA_BAD_ARGUMENT);
  EXPECT_EQ(lumora_get_device_id(small, sizeof(small), &length), LUMORA_BUFFER_TOO_SMALL);
  EXPECT_GT(length, sizeof(small));
  EXPECT_STREQ(lumora_result_text(1), lumora_result_text(-1000));
  EXPECT_STRNE(lumora_result_text(LUMORA_TOO_DEEP), lumora_result_text(LUMORA_TOO_DEEP - 1));
  EXPECT_EQ(lumora_set_tracking_consent(3, false), LUMORA_BAD_ARGUMENT);
  EXPECT_EQ(lumora_message_tap(1, kNotUTF8, nullptr), LUMORA_BAD_TEXT);
  EXPECT_EQ(lumora_get_status(nullptr), LUMORA_BAD_ARGUMENT);
  const lumora_observer sizeless{};
  EXPECT_EQ(lumora_set_observer(&sizeless), LUMORA_BAD_ARGUMENT);
  lumora_observer cut{};
  cut.size = offsetof(lumora_observer, initialization_failed) + 4;  // Within a field.
  EXPECT_EQ(lumora_set_observer(&cut), LUMORA_BAD_ARGUMENT);
  EXPECT_EQ(lumora_keeper_new(nullptr, nullptr), LUMORA_BAD_ARGUMENT);
  EXPECT_EQ(stored().find("key"), std::string::npos);
}

// JSON is written 512 levels deep, one of which is the event's own.
TEST_F(CInterfaceTest, WhatIsNestedTooDeepForAnEventIsRefusedAtOnce) {
  const lumora_text key = lumora_string("k");
  const lumora_action action = lumora_action_new();
  lumora_map deepest = lumora_map_new();
  std::string json = "{}";
  for (int depth = 2; depth <= 513; ++depth) {
    const lumora_map outer = lumora_map_new();
    const lumora_list list = lumora_list_new();
    const lumora_result result = depth <= 512 ? LUMORA_OK : LUMORA_TOO_DEEP;
    ASSERT_EQ(lumora_list_add_map(list, deepest), result) << depth;
    ASSERT_EQ(lumora_map_set_map(outer, key, deepest), result) << depth;
    if (depth > 512) break;
    json = R"({"k":)" + json + "}";
    const lumora_result reported = depth <= 511 ? LUMORA_OK : LUMORA_TOO_DEEP;
    ASSERT_EQ(lumora_action_set_map(action, outer), reported) << depth;
    if (depth > 510) {
      ASSERT_EQ(lumora_report_action_json(key, {json.data(), json.size()}), reported) << depth;
    }
    lumora_free(list);
    lumora_free(std::exchange(deepest, outer));
  }
  EXPECT_EQ(lumora_report_action(lumora_string("deepest"), action), LUMORA_OK);
  EXPECT_NE(stored().find(R"("name":"deepest")"), std::string::npos);
}

TEST_F(CInterfaceTest, ARefusedInstallationFreesItsContext) {
  int freed = 0;
  lumora_options options = lumora_default_options();
  options.context = &freed;
  options.free_context = [](void* context) { ++*static_cast<int*>(context); };
  EXPECT_EQ(lumora_install(&options), LUMORA_ALREADY_INSTALLED);
  options.show_message = [](void*, std::uint64_t, lumora_text) {};
  EXPECT_EQ(lumora_install(&options), LUMORA_BAD_ARGUMENT);
  options.show_message = nullptr;
  options.log_destination = 4;
  EXPECT_EQ(lumora_install(&options), LUMORA_BAD_ARGUMENT);
  EXPECT_EQ(freed, 3);
}

TEST_F(CInterfaceTest, WhatIsReportedIsRecordedAsItWas) {
  using namespace std::string_literals;
  const std::string odd = "\0 \xF0\x9F\x98\x80"s;
  const lumora_map inner = lumora_map_new();
  const lumora_list list = lumora_list_new();
  const lumora_map details = lumora_map_new();
  EXPECT_EQ(lumora_map_set_text(inner, lumora_string("odd"), {odd.data(), odd.size()}), LUMORA_OK);
  EXPECT_EQ(lumora_list_add_integer(list, 9007199254740993), LUMORA_OK);
  EXPECT_EQ(lumora_list_add_null(list), LUMORA_OK);
  EXPECT_EQ(lumora_list_add_map(list, inner), LUMORA_OK);
  EXPECT_EQ(lumora_map_set_list(details, lumora_string("list"), list), LUMORA_OK);
  EXPECT_EQ(lumora_map_set_bool(details, lumora_string("flag"), true), LUMORA_OK);
  const lumora_action action = lumora_action_new();
  EXPECT_EQ(lumora_action_set_map(action, details), LUMORA_OK);
  EXPECT_EQ(lumora_report_action(lumora_string("nested"), action), LUMORA_OK);
  EXPECT_EQ(lumora_report_action_json(lumora_string("json"), lumora_string(R"({"a":[1,{"b":null}]})")),
            LUMORA_OK);
  const std::string events = stored();
  EXPECT_NE(events.find(R"("list":[9007199254740993,null,{"odd":"\u0000 )"
                        "\xF0\x9F\x98\x80"),
            std::string::npos)
      << events;
  EXPECT_NE(events.find(R"("a":[1,{"b":null}])"), std::string::npos) << events;
}

TEST_F(CInterfaceTest, DetailsMayBeChangedAndReportedAgain) {
  const lumora_action action = lumora_action_new();
  for (const char* value : {"first", "second"}) {
    EXPECT_EQ(lumora_action_set_text(action, lumora_string("which"), lumora_string(value)), LUMORA_OK);
    EXPECT_EQ(lumora_report_action(lumora_string("again"), action), LUMORA_OK);
  }
  const std::string events = stored();
  EXPECT_NE(events.find(R"("which":"first")"), std::string::npos) << events;
  EXPECT_NE(events.find(R"("which":"second")"), std::string::npos) << events;
}

struct Watched {
  int initialized = 0, freed = 0;
  std::string failure;
};

lumora_observer watcher(Watched& watched) {
  lumora_observer observer{};
  observer.size = sizeof(observer);
  observer.context = &watched;
  observer.free_context = [](void* context) { ++static_cast<Watched*>(context)->freed; };
  observer.initialized = [](void* context) { ++static_cast<Watched*>(context)->initialized; };
  observer.initialization_failed = [](void* context, const lumora_error* error) {
    static_cast<Watched*>(context)->failure =
        std::to_string(error->reason) + std::string(error->message.bytes, error->message.length);
  };
  return observer;
}

TEST_F(CInterfaceTest, AnObserverIsToldUntilItIsReplacedAndFreedThen) {
  Watched first;
  Watched second;
  lumora_observer observer = watcher(first);
  EXPECT_EQ(lumora_set_observer(&observer), LUMORA_OK);
  lumora_initialize(lumora_string(""), lumora_string("s3cret"), LUMORA_NONE);
  host_.queues.runAll();
  EXPECT_EQ(first.failure, std::to_string(LUMORA_REASON_CREDENTIALS_MISSING));

  // A host of an older header knows only the fields up to the one that it needs; what lies behind is not
  // read.
  observer = watcher(second);
  observer.size = offsetof(lumora_observer, initialization_failed);
  EXPECT_EQ(lumora_set_observer(&observer), LUMORA_OK);
  EXPECT_EQ(first.freed, 1);
  lumora_initialize(lumora_string("acme"), lumora_string(""), LUMORA_NONE);
  host_.bundle.setInfoValue("CFBundleShortVersionString", "1.0");
  host_.urlLoader.enqueue(200, R"({"success":true})");
  lumora_initialize(lumora_string("acme"), lumora_string("s3cret"), LUMORA_NONE);
  host_.queues.runAll();
  EXPECT_EQ(second.initialized, 1);
  EXPECT_EQ(second.failure, "");
  EXPECT_EQ(lumora_set_observer(nullptr), LUMORA_OK);
  EXPECT_EQ(second.freed, 1);
  EXPECT_EQ(first.initialized, 0);
}

TEST_F(CInterfaceTest, TheStatusIsWrittenAsFarAsTheCallersStructureReaches) {
  // The byte 255 is the first of a character of two.
  const std::string longMessage = std::string(254, 'x') + "\xC3\xA4" + std::string(50, 'y');
  lumora_report_action(lumora_string("waits"), LUMORA_NONE);
  host_.bundle.setInfoValue("CFBundleShortVersionString", "1.0");
  host_.urlLoader.enqueue(200, R"({"success":false,"error_message":")" + longMessage + R"("})");
  lumora_initialize(lumora_string("acme"), lumora_string("s3cret"), LUMORA_NONE);
  host_.queues.runAll();
  lumora_status status;
  std::memset(&status, 0xAA, sizeof(status));
  status.size = sizeof(status) + 8;  // As a newer header knows it: its own fields stay.
  struct {
    lumora_status known;
    std::uint64_t newer = 7;
  } larger{status};
  EXPECT_EQ(lumora_get_status(&larger.known), LUMORA_OK);
  EXPECT_EQ(larger.newer, 7U);
  EXPECT_FALSE(larger.known.is_initialized);
  EXPECT_EQ(larger.known.waiting_events, 2);
  EXPECT_GT(larger.known.last_error_date, 0);
  EXPECT_EQ(larger.known.last_upload, 0);
  EXPECT_EQ(larger.known.last_error, std::uint32_t{LUMORA_REASON_REFUSED});
  EXPECT_EQ(larger.known.last_error_message, std::string(254, 'x'));

  status.size = offsetof(lumora_status, waiting_events);
  EXPECT_EQ(lumora_get_status(&status), LUMORA_OK);
  EXPECT_FALSE(status.is_blocked);
  EXPECT_EQ(status.waiting_events, static_cast<std::int64_t>(0xAAAAAAAAAAAAAAAA));
}

TEST_F(CInterfaceTest, DeniedConsentIgnoresCallsAndErasesWhatWaits) {
  lumora_report_action(lumora_string("kept"), LUMORA_NONE);
  EXPECT_NE(stored().find("kept"), std::string::npos);
  EXPECT_EQ(lumora_set_tracking_consent(LUMORA_CONSENT_DENIED, true), LUMORA_OK);
  EXPECT_EQ(lumora_tracking_consent(), std::uint32_t{LUMORA_CONSENT_DENIED});
  EXPECT_EQ(lumora_report_action(lumora_string("ignored"), LUMORA_NONE), LUMORA_OK);
  host_.queues.runAll();
  EXPECT_EQ(lumora_set_tracking_consent(LUMORA_CONSENT_GRANTED, false), LUMORA_OK);
  const std::string events = stored();
  EXPECT_EQ(events.find("kept"), std::string::npos) << events;
  EXPECT_EQ(events.find("ignored"), std::string::npos) << events;
}

TEST_F(CInterfaceTest, AKeeperLivesAsLongAsItsHandle) {
  lumora_keeper keeper = 7;
  lumora_keeper_options options{sizeof(options), -1, 0};
  EXPECT_EQ(lumora_keeper_new(&options, &keeper), LUMORA_BAD_ARGUMENT);
  EXPECT_EQ(keeper, LUMORA_NONE);
  options.upload_after = INT64_MAX;
  EXPECT_EQ(lumora_keeper_new(&options, &keeper), LUMORA_OK);
  EXPECT_EQ(lumora_action_set_metric(keeper, 1), LUMORA_BAD_HANDLE);
  EXPECT_EQ(lumora_free(keeper), LUMORA_OK);
  EXPECT_EQ(lumora_keeper_new(nullptr, &keeper), LUMORA_OK);
  EXPECT_EQ(lumora_free(keeper), LUMORA_OK);
}

}  // namespace
