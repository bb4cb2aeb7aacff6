#include <gtest/gtest.h>

#include <cmath>
#include <stdexcept>

#include "lumora/Platform/JSON.h"
#include "lumora/Platform/Linux/LinuxSettingsStore.h"
#include "lumora/Testing/FakeSettingsStore.h"
#include "tests/Support/FileSizeLimit.h"
#include "tests/Support/TemporaryFolder.h"
#include "tests/Support/TestFiles.h"

namespace lumora::testing {
namespace {

/// Each host runs one implementation, and stages what the tests need of it.
struct FakeHost {
  SettingsStore& store() { return current; }
  void restart() { current.loseUnflushedChanges(); }
  void setFlushFails(bool fails) { current.setFlushFails(fails); }
  FakeSettingsStore current;
};

struct LinuxHost {
  LinuxHost() { restart(); }
  SettingsStore& store() { return *current; }
  void restart() { current.emplace(folder / "data/settings.json"); }
  void setFlushFails(bool fails) { fails ? static_cast<void>(fullDisk.emplace(0)) : fullDisk.reset(); }
  TemporaryFolder folder;
  std::optional<LinuxSettingsStore> current;
  std::optional<FileSizeLimit> fullDisk;
};

template <typename Host>
struct SettingsStoreTest : ::testing::Test, Host {};

using Hosts = ::testing::Types<FakeHost, LinuxHost>;
TYPED_TEST_SUITE(SettingsStoreTest, Hosts);

Value nested(int depth, bool isMap) {
  Value value(1);
  for (int i = 0; i < depth; ++i)
    value = isMap ? Value(Dictionary{{"a", std::move(value)}}) : Value(List{std::move(value)});
  return value;
}

TYPED_TEST(SettingsStoreTest, KeepsEveryKindAcrossARestart) {
  constexpr const char* json =
      R"([true, false, 0, -9223372036854775808, 9223372036854775807, 0.1, 3.0, -0.0, "",
      "quote\" back\\slash \u0000 NUL \u007f \ud83d\ude00", [], [1, "two", [3.5]], {}, {"date": 5, "map": {"": true}}])";
  List values = *parseJSON(json)->asList();
  // clang-format off
  const List others{Date(Date::duration(1500000000123456)), Date(Date::duration(-1)), Date::min(), Data(),
                    Data{0, 127, 128, 255}, nested(254, true), nested(254, false)};
  // clang-format on
  values.insert(values.end(), others.begin(), others.end());
  for (std::size_t i = 0; i < values.size(); ++i) this->store().setObject(std::to_string(i), values[i]);
  ASSERT_TRUE(this->store().synchronize());
  for (int restarts = 0; restarts < 2; ++restarts, this->restart()) {
    for (std::size_t i = 0; i < values.size(); ++i) {
      const Value stored = this->store().object(std::to_string(i));
      EXPECT_EQ(stored, values[i]) << values[i].description() << " after restarts: " << restarts;
      EXPECT_EQ(stored.numberKind(), values[i].numberKind()) << values[i].description();
    }
  }
}

TYPED_TEST(SettingsStoreTest, RefusesWhatItCannotHoldAndKeepsTheOldValue) {
  // clang-format off
  const List values{Value(), *URL::parse("http://example.com"), Value::Opaque{"Thing", "a thing"}, std::nan(""), INFINITY, "\xC3",
                    List{Value()}, Dictionary{{"a", -INFINITY}}, Dictionary{{"\xFF", 1}}, nested(100'000, false)};
  // clang-format on
  SettingsStore& store = this->store();
  store.setObject("key", "old");
  for (const Value& value : values) {
    EXPECT_THROW(store.setObject("key", value), std::invalid_argument) << value.description();
    EXPECT_EQ(store.object("key"), Value("old")) << value.description();
  }
  EXPECT_THROW(store.setObject("\xFF", 1), std::invalid_argument);
}

TYPED_TEST(SettingsStoreTest, ARestartLosesOnlyWhatWasNotFlushed) {
  this->store().removeObject("never set");
  for (const char* key : {"flushed", "removed"}) this->store().setObject(key, 1);
  ASSERT_TRUE(this->store().synchronize());
  this->setFlushFails(true);
  this->store().setObject("second", 2);
  this->store().removeObject("removed");
  EXPECT_FALSE(this->store().synchronize());
  this->setFlushFails(false);
  EXPECT_TRUE(this->store().synchronize()) << "a failed flush keeps its changes for the next";
  for (const char* key : {"flushed", "lost"}) this->store().setObject(key, 3);
  this->restart();
  EXPECT_EQ(this->store().object("flushed"), Value(1));
  EXPECT_EQ(this->store().object("second"), Value(2));
  for (const char* key : {"removed", "lost"}) EXPECT_TRUE(this->store().object(key).isNull()) << key;
}

TEST(LinuxSettingsStoreTest, AFlushCarriesOnlyItsOwnChangesIntoTheSharedFile) {
  const TemporaryFolder folder;
  LinuxSettingsStore first(folder / "settings.json");
  for (const char* key : {"both", "removed", "kept"}) first.setObject(key, "first");
  ASSERT_TRUE(first.synchronize());
  LinuxSettingsStore second(folder / "settings.json");
  second.setObject("both", "second");
  second.removeObject("removed");
  ASSERT_TRUE(second.synchronize());
  first.setObject("of first", 1);
  ASSERT_TRUE(first.synchronize());
  EXPECT_EQ(first.object("both"), Value("second")) << "the flush brings in what others wrote";
  LinuxSettingsStore fresh(folder / "settings.json");
  for (const char* key : {"both", "removed", "of first"})
    EXPECT_EQ(fresh.object(key), first.object(key)) << key;
  EXPECT_TRUE(fresh.object("removed").isNull());
  writeFile(folder / "settings.json", "broken");
  first.setObject("new", 2);
  EXPECT_TRUE(first.synchronize());
  EXPECT_EQ(LinuxSettingsStore(folder / "settings.json").object("kept"), Value("first")) << "from memory";
}

}  // namespace
}  // namespace lumora::testing
