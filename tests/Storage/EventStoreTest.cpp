#include <atomic>
#include <thread>
#include <tuple>

#include "lumora/Platform/JSON.h"
#include "lumora/Util/LumoraConstants.h"
#include "tests/Storage/EventStoreFixture.h"

namespace lumora::tests {
namespace {

using Ids = std::vector<std::int64_t>;
using Texts = std::vector<std::string>;

constexpr const char* crucialLine =
    "LumoraSDK-Event delete opration prevented, Can not delete crucial events .";

TEST_F(EventStoreTest, anyTextComesBackUnchangedOnItsOneLine) {
  const std::string texts[] = {
      "it's ''); DROP TABLE ostrel_events; --\n\r\n\t\x1B\x7F\"\\/ %@ %s {} ?1 :a $b",
      std::string("a\0b", 3) + "\xE2\x80\xA8\xED\x9F\xBF\xEE\x80\x80\xF0\x90\x80\x80\xF4\x8F\xBF\xBD",
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
    EXPECT_TRUE(parseJSON(stored.text) == Value(event));
  }
}

TEST_F(EventStoreTest, aFullQueueDropsNewEventsUnlessTheyAreCrucial) {
  enum When { atRest, whileAcceptedUpload, whileRefusedUpload, whileUploadAndOthersSave };
  using Types = std::vector<const char*>;
  // The rows before, when which events are saved, the rows left, and the lines about crucial events.
  const std::tuple<int, When, Types, std::size_t, std::size_t> cases[] = {
      {998, atRest, {"checkpoint"}, 999, 0},
      {999, atRest, {"checkpoint"}, 999, 0},
      {999, atRest, {"init"}, 1000, 1},
      {1200, atRest, {"push", "user"}, 1202, 2},
      {999, atRest, {"Push", "session", "inapp", "update_test_device"}, 999, 0},
      {998, whileRefusedUpload, {"init", "checkpoint", "push", "checkpoint"}, 1000, 1},
      {1200, whileAcceptedUpload, {"checkpoint", "user"}, 2, 0},
      {997, whileUploadAndOthersSave, Types(5, "checkpoint"), 999, 0},
  };
  for (const auto& [rows, when, types, expected, crucialLines] : cases) {
    SCOPED_TRACE(std::to_string(rows) + " rows, then " + types.front() + " at " + std::to_string(when));
    store().cleanUpAppEvents();
    host.log.clear();
    if (when != whileUploadAndOthersSave) fill(rows);
    const auto saveAll = [&types = types] {
      for (const char* type : types) save("new", type);
    };
    if (when == atRest) {
      saveAll();
    } else {
      store().getEventsDataWith(
          [&, when = when, rows = rows, added = static_cast<std::size_t>(rows) + types.size()](
              const auto&, const List& ids) {
            if (when == whileUploadAndOthersSave) fill(rows);
            std::thread(saveAll).join();  // An upload holds up no other thread.
            EXPECT_EQ(count(), added);
            if (when == whileAcceptedUpload) store().cleanUpEventsWith(ids);
          });
    }
    EXPECT_EQ(count(), expected);
    EXPECT_EQ(host.log.messages(), std::vector<std::string>(crucialLines, crucialLine));
  }
}

TEST_F(EventStoreTest, theEventsOfABurstShareATransaction) {
  std::atomic<int> tasks = 1000;
  const auto saveInTask = [&tasks](const std::string& name) {
    const LMRDataManager::Burst burst(tasks);
    save(name);
  };
  const auto stored = [this] { return SQLiteConnection(path()).texts("SELECT count(*) FROM ostrel_events"); };
  EXPECT_EQ(count(), 0U);
  saveInTask("followed by others");
  EXPECT_EQ(stored(), Texts{"0"});
  std::thread([] { save("of another thread"); }).join();
  EXPECT_EQ(stored(), Texts{"2"});
  for (int i = 0; i < 64; ++i) saveInTask("one of many");
  EXPECT_EQ(stored(), Texts{"66"});
  saveInTask("old");
  host.clock.advance(std::chrono::milliseconds(5));
  saveInTask("new");
  EXPECT_EQ(stored(), Texts{"68"});
  SQLiteConnection(path()).run(
      "CREATE TRIGGER bad BEFORE INSERT ON ostrel_events WHEN NEW.event LIKE '%bad%' "
      "BEGIN SELECT RAISE(ROLLBACK, 'bad'); END");
  for (const char* name : {"good", "bad", "good"}) saveInTask(name);
  EXPECT_EQ(count(), 70U) << "a bad one takes no other along";
  tasks = 1;
  saveInTask("last");
  EXPECT_EQ(stored(), Texts{"71"});
}

TEST_F(EventStoreTest, onlyTheNamedEventsAreDeleted) {
  const std::pair<List, Ids> cases[] = {
      {{}, {1, 2, 3}}, {{7, -1, 0, Value(1LL << 40)}, {1, 2, 3}}, {{1, 1, 9}, {2, 3}}, {{1, 2, 3}, {}}};
  for (const auto& [ids, left] : cases) {
    store().cleanUpAppEvents();
    for (const char* name : {"one", "two", "three"}) save(name);
    store().cleanUpEventsWith(ids);
    EXPECT_EQ(queue().ids, left) << Value(ids).description();
  }
}

TEST_F(EventStoreTest, anIdThatIsUsedAgainDuringAnUploadIsNotDeleted) {
  for (const char* name : {"sent", "sent too", "sent as well"}) save(name);
  store().getEventsDataWith([](const std::string&, const List& ids) {
    store().cleanUpAppEvents();
    for (const char* name : {"new", "another"}) save(name);
    store().cleanUpEventsWith(ids);
  });
  EXPECT_EQ(queue().text, record("new") + "\n" + record("another"));
}

TEST_F(EventStoreTest, anEventThatCannotBeStoredPushesNoneOut) {
  fill(1000);
  SQLiteConnection(path()).run(
      "CREATE TRIGGER refusal BEFORE INSERT ON ostrel_events BEGIN SELECT RAISE(FAIL, 'no'); END");
  host.log.clear();
  save("refused");
  EXPECT_EQ(count(), 1000U);
  EXPECT_EQ(host.log.messages(),
            Texts{"LumoraSDK-The database " + path() + " cannot be used: it refuses events"});
}

}  // namespace
}  // namespace lumora::tests
