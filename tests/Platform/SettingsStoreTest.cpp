#include "lumora/Platform/SettingsStore.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <limits>
#include <memory>
#include <numeric>
#include <stdexcept>
#include <thread>

#include "lumora/Platform/Linux/LinuxSettingsStore.h"
#include "lumora/Testing/FakeSettingsStore.h"
#include "tests/Support/TemporaryFolder.h"
#include "tests/Support/TestFiles.h"

namespace lumora::testing {
namespace {

/// Each host runs one implementation, and stages what the tests need of it.
class FakeHost {
 public:
  SettingsStore& store() { return store_; }
  void restart() { store_.loseUnflushedChanges(); }
  void setFlushFails(bool fails) { store_.setFlushFails(fails); }

 private:
  FakeSettingsStore store_;
};

class LinuxHost {
 public:
  LinuxHost() { restart(); }
  SettingsStore& store() { return *store_; }
  void restart() { store_ = std::make_unique<LinuxSettingsStore>(folder_ / "data/settings.json"); }
  /// A file in the folder's place lets nothing be written.
  void setFlushFails(bool fails) {
    if (fails) {
      std::filesystem::rename(folder_ / "data", folder_ / "away");
      writeFile(folder_ / "data", "");
    } else {
      std::filesystem::remove(folder_ / "data");
      std::filesystem::rename(folder_ / "away", folder_ / "data");
    }
  }

 private:
  TemporaryFolder folder_;
  std::unique_ptr<LinuxSettingsStore> store_;
};

template <typename Host>
class SettingsStoreTest : public ::testing::Test {
 protected:
  Host host;
};

using Hosts = ::testing::Types<FakeHost, LinuxHost>;
TYPED_TEST_SUITE(SettingsStoreTest, Hosts);

Data everyByte() {
  Data bytes(256);
  std::iota(bytes.begin(), bytes.end(), std::uint8_t{0});
  return bytes;
}

Date dateAt(std::int64_t microseconds) {
  return Date(Date::duration(microseconds));
}

Value nested(int depth) {
  Value value(1);
  for (int i = 0; i < depth; ++i) value = List{std::move(value)};
  return value;
}

std::vector<Value> valuesOfEveryKind() {
  return {
      true,
      false,
      0LL,
      std::numeric_limits<long long>::min(),
      std::numeric_limits<long long>::max(),
      0.1,
      3.0,
      -0.0,
      std::numeric_limits<double>::max(),
      std::numeric_limits<double>::denorm_min(),
      "",
      "plain",
      std::string("quote\" back\\slash \0 NUL \x7F \n \xF0\x9F\x98\x80", 32),
      dateAt(1500000000123456),
      dateAt(-1),
      dateAt(std::numeric_limits<std::int64_t>::min()),
      Data{},
      everyByte(),
      List{},
      List{1LL, "two", List{3.5}},
      Dictionary{},
      Dictionary{{"date", 5LL}, {"data", "text"}, {"map", Dictionary{{"", true}}}},
  };
}

TYPED_TEST(SettingsStoreTest, KeepsEveryKindAcrossARestart) {
  const std::vector<Value> values = valuesOfEveryKind();
  SettingsStore& store = this->host.store();
  for (std::size_t i = 0; i < values.size(); ++i) store.setObject("key " + std::to_string(i), values[i]);
  ASSERT_TRUE(store.synchronize());
  for (const char* moment : {"before the restart", "after the restart"}) {
    for (std::size_t i = 0; i < values.size(); ++i) {
      SCOPED_TRACE(std::string(moment) + ", value " + std::to_string(i) + ": " + values[i].description());
      const Value stored = this->host.store().object("key " + std::to_string(i));
      EXPECT_EQ(stored, values[i]) << stored.description();
      EXPECT_EQ(stored.numberKind(), values[i].numberKind());
    }
    this->host.restart();
  }
}

TYPED_TEST(SettingsStoreTest, RefusesWhatItCannotHoldAndKeepsTheOldValue) {
  const std::vector<std::pair<const char*, Value>> values = {
      {"null", Value()},
      {"URL", *URL::parse("http://example.com")},
      {"opaque", Value::Opaque{"Thing", "a thing"}},
      {"not a number", std::numeric_limits<double>::quiet_NaN()},
      {"infinity", std::numeric_limits<double>::infinity()},
      {"text that is not UTF-8", "\xC3"},
      {"null in a list", List{1, Value()}},
      {"infinity in a map", Dictionary{{"a", -std::numeric_limits<float>::infinity()}}},
      {"key that is not UTF-8", Dictionary{{"\xFF", 1}}},
      {"deep list", nested(100'000)},
  };
  SettingsStore& store = this->host.store();
  store.setObject("key", "old");
  for (const auto& [name, value] : values) {
    EXPECT_THROW(store.setObject("key", value), std::invalid_argument) << name;
    EXPECT_EQ(store.object("key"), Value("old")) << name;
  }
  EXPECT_THROW(store.setObject("\xFF", 1), std::invalid_argument);
  EXPECT_TRUE(store.synchronize());
}

TYPED_TEST(SettingsStoreTest, HoldsTheDeepestValueThatItAccepts) {
  SettingsStore& store = this->host.store();
  Value maps(1);
  for (int i = 0; i < 254; ++i) maps = Dictionary{{"a", std::move(maps)}};
  store.setObject("lists", nested(254));
  store.setObject("maps", maps);
  ASSERT_TRUE(store.synchronize());
  this->host.restart();
  EXPECT_EQ(this->host.store().object("lists"), nested(254));
  EXPECT_EQ(this->host.store().object("maps"), maps);
}

TYPED_TEST(SettingsStoreTest, AbsentAndRemovedKeysAreNull) {
  SettingsStore& store = this->host.store();
  EXPECT_TRUE(store.isAvailable());
  EXPECT_TRUE(store.object("never set").isNull());
  store.removeObject("never set");
  store.setObject("key", 1);
  store.setObject("other", 2);
  ASSERT_TRUE(store.synchronize());
  store.removeObject("key");
  EXPECT_TRUE(store.object("key").isNull());
  ASSERT_TRUE(store.synchronize());
  this->host.restart();
  EXPECT_TRUE(this->host.store().object("key").isNull());
  EXPECT_EQ(this->host.store().object("other"), Value(2));
}

TYPED_TEST(SettingsStoreTest, ARestartLosesOnlyWhatWasNotFlushed) {
  this->host.store().setObject("flushed", 1);
  ASSERT_TRUE(this->host.store().synchronize());
  this->host.store().setObject("flushed", 2);
  this->host.store().setObject("new", 3);
  this->host.restart();
  EXPECT_EQ(this->host.store().object("flushed"), Value(1));
  EXPECT_TRUE(this->host.store().object("new").isNull());
}

TYPED_TEST(SettingsStoreTest, AFailedFlushKeepsItsChangesForTheNext) {
  this->host.store().setObject("first", 1);
  this->host.store().setObject("removed", 1);
  ASSERT_TRUE(this->host.store().synchronize());
  this->host.setFlushFails(true);
  this->host.store().setObject("second", 2);
  this->host.store().removeObject("removed");
  EXPECT_FALSE(this->host.store().synchronize());
  EXPECT_EQ(this->host.store().object("second"), Value(2));
  this->host.setFlushFails(false);
  EXPECT_TRUE(this->host.store().synchronize());
  this->host.restart();
  EXPECT_EQ(this->host.store().object("first"), Value(1));
  EXPECT_EQ(this->host.store().object("second"), Value(2));
  EXPECT_TRUE(this->host.store().object("removed").isNull());
}

TYPED_TEST(SettingsStoreTest, ThreadsMayWriteAndFlushTogether) {
  constexpr int threadCount = 4;
  constexpr int keysEach = 20;
  {
    std::vector<std::jthread> threads;
    for (int thread = 0; thread < threadCount; ++thread) {
      threads.emplace_back([&store = this->host.store(), thread] {
        for (int i = 0; i < keysEach; ++i) {
          store.setObject(std::to_string(thread) + "." + std::to_string(i), i);
          EXPECT_TRUE(store.synchronize());
        }
      });
    }
  }
  this->host.restart();
  for (int thread = 0; thread < threadCount; ++thread) {
    for (int i = 0; i < keysEach; ++i) {
      EXPECT_EQ(this->host.store().object(std::to_string(thread) + "." + std::to_string(i)), Value(i));
    }
  }
}

}  // namespace
}  // namespace lumora::testing
