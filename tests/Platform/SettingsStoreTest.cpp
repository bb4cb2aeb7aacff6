#include <gtest/gtest.h>
#include <sys/inotify.h>

#include <cmath>
#include <cstdlib>
#include <stdexcept>

#include "lumora/Platform/JSON.h"
#include "lumora/Platform/Linux/Files/FileDescriptor.h"
#include "lumora/Platform/Linux/Files/LinuxSettingsStore.h"
#include "lumora/Testing/FakeSettingsStore.h"
#include "tests/Support/ChildProcess.h"
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

Value nested(int depth, bool isMap, Value value = 1) {
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
                    Data{0, 127, 128, 255}, nested(255, true), nested(510, false)};
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
                    List{Value()}, Dictionary{{"a", -INFINITY}}, Dictionary{{"\xFF", 1}},
                    nested(256, true), nested(511, false), nested(510, false, Date()), nested(255, true, Data()), nested(100'000, false)};
  // clang-format on
  SettingsStore& store = this->store();
  store.setObject("key", "old");
  for (const Value& value : values) {
    EXPECT_THROW(store.setObject("key", value), std::invalid_argument) << value.description();
    EXPECT_EQ(store.object("key"), Value("old")) << value.description();
  }
  EXPECT_THROW(store.setObject("\xFF", 1), std::invalid_argument);
}

TYPED_TEST(SettingsStoreTest, AFailedFlushKeepsItsChangesForTheNext) {
  SettingsStore& store = this->store();
  store.removeObject("never set");
  store.setObject("removed", 1);
  EXPECT_EQ(store.setObjectIfAbsent("first", 1), Value(1));
  this->setFlushFails(true);
  EXPECT_EQ(store.setObjectIfAbsent("first", 2), Value(1));
  EXPECT_EQ(store.setObjectIfAbsent("second", 2), Value(2));
  store.removeObject("removed");
  EXPECT_FALSE(store.synchronize());
  this->setFlushFails(false);
  EXPECT_TRUE(store.synchronize());
  this->restart();
  EXPECT_EQ(this->store().object("first"), Value(1));
  EXPECT_EQ(this->store().object("second"), Value(2));
  EXPECT_TRUE(this->store().object("removed").isNull());
}

struct LinuxSettingsStoreTest : ::testing::Test {
  Value stored(const char* key) const { return LinuxSettingsStore(file).object(key); }
  TemporaryFolder folder;
  const std::string file = folder / "settings.json";
};

TEST_F(LinuxSettingsStoreTest, WhatIsNotFlushedIsWrittenSoonAfterAndAtTheEnd) {
  static bool isForked = false;
  std::atexit([] { isForked ? ::_exit(0) : void(); });  // After the store's turn, before a leak checker's.
  ChildProcess other([this]() -> bool {
    (new LinuxSettingsStore(file))->setObject("key", 1);
    std::exit(0);
  });
  EXPECT_TRUE(other.succeeds());
  EXPECT_EQ(stored("key"), Value(1)) << "at the end of its process";
  LinuxSettingsStore(file).setObject("key", 2);
  EXPECT_EQ(stored("key"), Value(2)) << "at its own end";
  const FileDescriptor renames(::inotify_init1(IN_CLOEXEC));
  ASSERT_GE(::inotify_add_watch(renames.get(), folder.path().c_str(), IN_MOVED_TO), 0);
  LinuxSettingsStore store(file);
  std::optional<FileSizeLimit> fullDisk(0);
  store.setObject("key", 3);
  EXPECT_FALSE(store.synchronize());
  fullDisk.reset();
  char event[512];
  EXPECT_GT(::read(renames.get(), event, sizeof(event)), 0);
  EXPECT_EQ(stored("key"), Value(3)) << "by itself, after a flush that failed";
  fullDisk.emplace(0);
  store.setObject("key", 4);
  ChildProcess forked([&]() -> bool { isForked = true, fullDisk.reset(), std::exit(0); });
  EXPECT_TRUE(forked.succeeds());
  EXPECT_EQ(stored("key"), Value(3)) << "a forked child's end is not the end";
}

TEST_F(LinuxSettingsStoreTest, AFlushCarriesOnlyItsOwnChangesIntoTheSharedFile) {
  LinuxSettingsStore first(file);
  for (const char* key : {"both", "removed", "kept"}) first.setObject(key, "first");
  ASSERT_TRUE(first.synchronize());
  LinuxSettingsStore second(file);
  second.setObject("both", "second");
  second.removeObject("removed");
  ASSERT_TRUE(second.synchronize());
  first.setObject("of first", 1);
  ASSERT_TRUE(first.synchronize());
  EXPECT_EQ(first.object("both"), Value("second")) << "the flush brings in what others wrote";
  for (const char* key : {"both", "removed", "of first"}) EXPECT_EQ(stored(key), first.object(key)) << key;
  EXPECT_TRUE(stored("removed").isNull());
  EXPECT_EQ(stored("of first"), Value(1));
  writeFile(file, "broken");
  first.setObject("new", 2);
  EXPECT_TRUE(first.synchronize());
  EXPECT_EQ(stored("kept"), Value("first")) << "from memory";
}

}  // namespace
}  // namespace lumora::testing
