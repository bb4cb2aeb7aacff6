#include <cmath>
#include <limits>
#include <thread>

#include "lumora/Facade/LumoraConstants.h"
#include "lumora/Platform/JSON.h"
#include "tests/Storage/EventStoreFixture.h"

namespace lumora::tests {
namespace {

using Ids = std::vector<std::int64_t>;

constexpr const char* crucialLine =
    "LumoraSDK-Event delete opration prevented, Can not delete crucial events .";

TEST_F(EventStoreTest, anEmptyQueueIsAnEmptyText) {
  EXPECT_EQ(queue().text, "");
  EXPECT_EQ(queue().ids, Ids());
}

TEST_F(EventStoreTest, eventsComeBackInOrderOneALine) {
  save("one");
  save("two");
  save("three");
  EXPECT_EQ(queue().text, record("one") + "\n" + record("two") + "\n" + record("three"));
  EXPECT_EQ(queue().ids, (Ids{1, 2, 3}));
}

TEST_F(EventStoreTest, anyTextComesBackUnchangedOnItsOneLine) {
  std::string planes;  // The first and last characters of every plane.
  for (std::uint32_t plane = 0; plane <= 16; ++plane) {
    for (const std::uint32_t low : {0x20U, 0x41U, 0xD7FFU, 0xE000U, 0xFFFDU}) {
      const std::uint32_t c = plane << 16 | low;
      const auto byte = [](std::uint32_t bits) { return static_cast<char>(bits); };
      if (c < 0x80) {
        planes += byte(c);
      } else if (c < 0x10000) {
        planes += {byte(0xE0 | c >> 12), byte(0x80 | (c >> 6 & 0x3F)), byte(0x80 | (c & 0x3F))};
      } else {
        planes += {byte(0xF0 | c >> 18), byte(0x80 | (c >> 12 & 0x3F)), byte(0x80 | (c >> 6 & 0x3F)),
                   byte(0x80 | (c & 0x3F))};
      }
    }
  }
  const std::string texts[] = {
      "it's",
      "''",
      "'); DROP TABLE ostrel_events; --",
      "\"\\/",
      "a\nb\r\nc\td\x1B\x7F",
      std::string("a\0b", 3),
      "\xE2\x80\xA8\xE2\x80\xA9",
      "%@ %s {} ?1 :a $b",
      planes,
      std::string(1 << 20, '\''),
  };
  for (const std::string& text : texts) {
    SCOPED_TRACE(text.substr(0, 40));
    store().cleanUpAppEvents();
    const Dictionary event{{"event_type", "checkpoint"}, {text, text}};
    store().saveEventInDB(event);
    const Queue stored = queue();
    EXPECT_EQ(stored.ids.size(), 1U);
    EXPECT_EQ(stored.text.find('\n'), std::string::npos);
    const auto decoded = parseJSON(stored.text);
    EXPECT_TRUE(decoded && *decoded == Value(event));
  }
}

TEST_F(EventStoreTest, aRecordThatIsNotJSONIsDroppedWhole) {
  const auto nested = [](int lists) {
    Value value = 1;
    for (int i = 0; i < lists; ++i) value = Value(List{value});
    return value;
  };
  const std::pair<const char*, Value> dropped[] = {
      {"not a number", std::nan("")},
      {"infinity", -std::numeric_limits<double>::infinity()},
      {"infinity in a list", List{1, List{std::numeric_limits<double>::infinity()}}},
      {"opaque", Value::Opaque{"Thing", "a thing"}},
      {"date", dateFromSeconds(0)},
      {"data", Data{1, 2}},
      {"URL", *URL::parse("https://example.com/")},
      {"bytes that are not UTF-8", "a\xFF"},
      {"a surrogate", "\xED\xA0\x80"},
      {"a key that is not UTF-8", Dictionary{{"\xC3", 1}}},
      {"513 levels", nested(512)},
      {"100,000 levels", nested(100000)},
  };
  for (const auto& [name, value] : dropped) {
    store().saveEventInDB({{"event_type", "init"}, {"value", value}});
    EXPECT_EQ(count(), 0U) << name;
  }
  store().saveEventInDB({{"event_type", "init"}, {"value", nested(511)}});
  store().saveEventInDB({{"null", Value()}});
  store().saveEventInDB({});
  EXPECT_EQ(count(), 3U);
}

TEST_F(EventStoreTest, aFullQueueDropsTheNewEventUnlessItIsCrucial) {
  const struct {
    int rows;
    const char* type;
    std::size_t expected;
    std::size_t crucialLines;
  } cases[] = {
      {998, "checkpoint", 999, 0},   {999, "checkpoint", 999, 0}, {1000, "checkpoint", 1000, 0},
      {1200, "checkpoint", 1200, 0}, {998, "init", 999, 0},       {999, "init", 1000, 1},
      {1000, "push", 1001, 1},       {1200, "user", 1201, 1},     {999, "Push", 999, 0},
      {999, "session", 999, 0},      {999, "inapp", 999, 0},      {999, "update_test_device", 999, 0},
  };
  for (const auto& test : cases) {
    SCOPED_TRACE(std::to_string(test.rows) + " rows, then " + test.type);
    store().cleanUpAppEvents();
    host.log.clear();
    fill(test.rows);
    save("new", test.type);
    const Queue stored = queue();
    EXPECT_EQ(stored.ids.size(), test.expected);
    EXPECT_EQ(stored.text.ends_with(record("new", test.type)),
              test.expected > static_cast<std::size_t>(test.rows));
    EXPECT_EQ(host.log.count(crucialLine), test.crucialLines);
    EXPECT_EQ(host.log.messages().size(), test.crucialLines);
    EXPECT_FALSE(store().isQuerying());
  }
}

TEST_F(EventStoreTest, theIdOfADroppedEventIsGivenOutAgain) {
  fill(MAX_CHECKPOINTS_COUNT - 1);
  save("dropped");
  save("kept", "user");
  EXPECT_EQ(queue().ids.back(), MAX_CHECKPOINTS_COUNT);
}

TEST_F(EventStoreTest, onlyTheNamedEventsAreDeleted) {
  const std::pair<List, Ids> cases[] = {
      {{}, {1, 2, 3}}, {{7, -1, 0, Value(1LL << 40)}, {1, 2, 3}}, {{2}, {1, 3}}, {{1, 1, 9}, {2, 3}},
      {{1, 2, 3}, {}},
  };
  for (const auto& [ids, left] : cases) {
    store().cleanUpAppEvents();
    EXPECT_EQ(count(), 0U);
    for (const char* name : {"one", "two", "three"}) save(name);
    store().cleanUpEventsWith(ids);
    EXPECT_EQ(queue().ids, left) << Value(ids).description();
  }
  EXPECT_TRUE(host.log.messages().empty());
}

TEST_F(EventStoreTest, theCallbackMayUseTheStoreAgain) {
  save("sent");
  save("sent too");
  store().getEventsDataWith([](const std::string&, const List& ids) {
    save("meanwhile");
    store().cleanUpEventsWith(ids);
  });
  EXPECT_EQ(queue().text, record("meanwhile"));
}

TEST_F(EventStoreTest, whileTheCallbackRunsOtherThreadsWait) {
  save("sent");
  std::thread other;
  store().getEventsDataWith([&](const std::string&, const List& ids) {
    other = std::thread([] { save("later"); });
    store().cleanUpEventsWith(ids);
    EXPECT_EQ(queue().text, "");
  });
  other.join();
  EXPECT_EQ(queue().text, record("later"));
}

TEST_F(EventStoreTest, threadsAtOnceLoseNoEvent) {
  constexpr int perThread = 10;
  std::vector<std::thread> threads;
  for (int thread = 0; thread < 4; ++thread) {
    threads.emplace_back([] {
      for (int i = 0; i < perThread; ++i) save("event");
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(count(), 4U * perThread);
}

TEST_F(EventStoreTest, crucialEventsMayNotBeDeleted) {
  const std::pair<const char*, bool> cases[] = {
      {R"({"event_type":"push"})", false},
      {R"({"name":"x","event_type":"init"})", false},
      {R"({ "event_type" : "\u0075ser" })", false},
      {R"({"event_type":"checkpoint"})", true},
      {R"({"event_type":"Push"})", true},
      {R"({"event_type":"push "})", true},
      {R"({"event_type":""})", true},
      {R"({"event_type":null})", true},
      {R"({"event_type":1})", true},
      {R"({"event_type":["push"]})", true},
      {R"({"metadata":{"event_type":"push"}})", true},
      {R"(["push"])", true},
      {R"("push")", true},
      {"{}", true},
      {"not JSON", true},
      {R"({"event_type":"push")", true},
      {"", true},
  };
  for (const auto& [text, mayBeDeleted] : cases) {
    host.log.clear();
    EXPECT_EQ(store().canDeleteEvent(text), mayBeDeleted) << text;
    EXPECT_EQ(host.log.messages().size(), mayBeDeleted ? 0U : 1U) << text;
    EXPECT_EQ(host.log.count(crucialLine), mayBeDeleted ? 0U : 1U) << text;
  }
}

}  // namespace
}  // namespace lumora::tests
