// What a C caller may do wrong, and what it gets for it; what crosses the border arrives as it was.
#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <string_view>
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
  EXPECT_STREQ(lumora_result_text(-1), lumora_result_text(1000));
  EXPECT_EQ(stored().find("key"), std::string::npos);
}

TEST_F(CInterfaceTest, ARefusedInstallationFreesItsContext) {
  int freed = 0;
  lumora_options options = lumora_default_options();
  options.context = &freed;
  options.free_context = [](void* context) { ++*static_cast<int*>(context); };
  EXPECT_EQ(lumora_install(&options), LUMORA_ALREADY_INSTALLED);
  options.show_message = [](void*, std::uint64_t, lumora_text) {};
  EXPECT_EQ(lumora_install(&options), LUMORA_BAD_ARGUMENT);
  EXPECT_EQ(freed, 2);
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

}  // namespace
