#include "lumora/Platform/Linux/LinuxSettingsStore.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <array>
#include <filesystem>
#include <memory>

#include "tests/Support/ChildProcess.h"
#include "tests/Support/FileSizeLimit.h"
#include "tests/Support/TemporaryFolder.h"
#include "tests/Support/TestFiles.h"

namespace lumora::testing {
namespace {

namespace fs = std::filesystem;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class LinuxSettingsStoreTest : public ::testing::Test {
 protected:
  LinuxSettingsStore freshStore() const { return LinuxSettingsStore(file); }

  TemporaryFolder folder;
  const std::string data = folder / "data";
  const std::string file = data + "/settings.json";
};

TEST_F(LinuxSettingsStoreTest, FileAndFolderAreTheOwnersAlone) {
  auto store = freshStore();
  store.setObject("key", "secret");
  EXPECT_FALSE(fs::exists(data)) << "nothing is written before the flush";
  ASSERT_TRUE(store.synchronize());
  EXPECT_EQ(modeOf(data), 0700U);
  EXPECT_EQ(modeOf(file), 0600U);
  EXPECT_THAT(namesIn(data), ElementsAre("settings.json", "settings.json.lock"));
}

TEST_F(LinuxSettingsStoreTest, ReadsTheFileOfAnEarlierVersion) {
  fs::create_directory(data);
  writeFile(file, R"({"version": 1, "values": {"name": "Ada", "opens": 3, "ratio": 0.5, "whole": 2.0,
    "blocked": false, "at": {"date": 1500000000000001}, "blob": {"data": "AAEC/w=="},
    "list": ["a", {"map": {"b": 1}}]}})");
  auto store = freshStore();
  const Dictionary expected{{"name", "Ada"},
                            {"opens", 3},
                            {"ratio", 0.5},
                            {"whole", 2.0},
                            {"blocked", false},
                            {"at", Date(Date::duration(1500000000000001))},
                            {"blob", Data{0, 1, 2, 255}},
                            {"list", List{"a", Dictionary{{"b", 1}}}}};
  for (const auto& [key, value] : expected) {
    EXPECT_EQ(store.object(key), value) << key;
    EXPECT_EQ(store.object(key).isFloatingPoint(), value.isFloatingPoint()) << key;
    EXPECT_EQ(store.object(key).isBoolean(), value.isBoolean()) << key;
  }
}

TEST_F(LinuxSettingsStoreTest, ABrokenFileIsMovedAsideAndNeverOverwritten) {
  const std::vector<std::string> broken = {
      "",
      "{",
      "[]",
      "null",
      std::string("\0\xFF\x01", 3),
      R"({"values": {}})",
      R"({"version": 2, "values": {}})",
      R"({"version": 1})",
      R"({"version": 1, "values": []})",
      R"({"version": 1, "values": {"a": null}})",
      R"({"version": 1, "values": {"a": {"unknown": 1}}})",
      R"({"version": 1, "values": {"a": {"date": "yesterday"}}})",
      R"({"version": 1, "values": {"a": {"data": "A=B="}}})",
      R"({"version": 1, "values": {"a": 1)",
  };
  fs::create_directory(data);
  for (const std::string& bytes : broken) {
    SCOPED_TRACE(bytes);
    writeFile(file, bytes);
    auto store = freshStore();
    EXPECT_TRUE(store.isAvailable());
    store.setObject("key", 1);
    EXPECT_TRUE(store.synchronize());
    EXPECT_EQ(freshStore().object("key"), Value(1));
    const auto aside = namesIn(data, "settings.json.corrupt-");
    ASSERT_EQ(aside.size(), 1U);
    EXPECT_EQ(readFile(data + "/" + aside.front()), bytes);
    fs::remove(data + "/" + aside.front());
  }
}

TEST_F(LinuxSettingsStoreTest, AFileThatBreaksLaterIsMovedAsideByTheFlush) {
  auto store = freshStore();
  store.setObject("old", 1);
  ASSERT_TRUE(store.synchronize());
  writeFile(file, "broken");
  store.setObject("new", 2);
  EXPECT_TRUE(store.synchronize());
  EXPECT_EQ(namesIn(data, "settings.json.corrupt-").size(), 1U);
  EXPECT_EQ(freshStore().object("old"), Value(1));
  EXPECT_EQ(freshStore().object("new"), Value(2));
}

TEST_F(LinuxSettingsStoreTest, WhatCannotBeReadMakesTheStoreUnavailableUntilItCan) {
  const std::vector<std::pair<const char*, std::function<void()>>> faults = {
      {"a folder in the file's place", [&] { fs::create_directories(file); }},
      {"a file in the folder's place", [&] { writeFile(data, ""); }},
      {"a link to itself", [&] { fs::create_directory(data), fs::create_symlink(file, file); }},
  };
  for (const auto& [name, breakFile] : faults) {
    SCOPED_TRACE(name);
    breakFile();
    auto store = freshStore();
    EXPECT_FALSE(store.isAvailable());
    store.setObject("lost", 1);
    store.removeObject("lost");
    EXPECT_TRUE(store.object("lost").isNull());
    fs::remove_all(data);
    EXPECT_TRUE(store.isAvailable());
    EXPECT_TRUE(store.object("lost").isNull());
    store.setObject("key", 1);
    EXPECT_TRUE(store.synchronize());
    EXPECT_EQ(freshStore().object("key"), Value(1));
    fs::remove_all(data);
  }
}

TEST_F(LinuxSettingsStoreTest, AFlushWithoutChangesTouchesNothing) {
  auto store = freshStore();
  store.setObject("key", 1);
  ASSERT_TRUE(store.synchronize());
  fs::remove_all(data);
  EXPECT_TRUE(store.synchronize());
  EXPECT_FALSE(fs::exists(data));
}

TEST_F(LinuxSettingsStoreTest, AMissingFolderIsMadeAgainWithEverything) {
  auto store = freshStore();
  store.setObject("old", 1);
  ASSERT_TRUE(store.synchronize());
  fs::remove_all(data);
  store.setObject("new", 2);
  ASSERT_TRUE(store.synchronize());
  EXPECT_EQ(freshStore().object("old"), Value(1));
  EXPECT_EQ(freshStore().object("new"), Value(2));
}

TEST_F(LinuxSettingsStoreTest, AFullDiskLeavesTheOldFileWhole) {
  auto store = freshStore();
  store.setObject("key", "old");
  ASSERT_TRUE(store.synchronize());
  const std::string before = readFile(file);
  store.setObject("key", std::string(10'000, 'x'));
  {
    const FileSizeLimit limit(4096);
    EXPECT_FALSE(store.synchronize());
  }
  EXPECT_EQ(readFile(file), before);
  EXPECT_THAT(namesIn(data, ".lumora"), IsEmpty());
  EXPECT_TRUE(store.synchronize());
  EXPECT_EQ(freshStore().object("key"), Value(std::string(10'000, 'x')));
}

TEST_F(LinuxSettingsStoreTest, AFlushCarriesOnlyItsOwnChangesIntoTheSharedFile) {
  auto first = freshStore();
  first.setObject("both", "first");
  first.setObject("removed by second", 1);
  first.setObject("kept", 1);
  ASSERT_TRUE(first.synchronize());
  auto second = freshStore();
  EXPECT_EQ(second.object("both"), Value("first"));
  second.setObject("both", "second");
  second.setObject("of second", 2);
  second.removeObject("removed by second");
  ASSERT_TRUE(second.synchronize());
  first.setObject("of first", 1);
  ASSERT_TRUE(first.synchronize());

  EXPECT_EQ(first.object("both"), Value("second")) << "the flush brings in what others wrote";
  auto fresh = freshStore();
  EXPECT_EQ(fresh.object("both"), Value("second"));
  EXPECT_EQ(fresh.object("of first"), Value(1));
  EXPECT_EQ(fresh.object("of second"), Value(2));
  EXPECT_EQ(fresh.object("kept"), Value(1));
  EXPECT_TRUE(fresh.object("removed by second").isNull());
}

TEST_F(LinuxSettingsStoreTest, ProcessesThatFlushAtOnceLoseNothing) {
  constexpr int processCount = 4;
  constexpr int keysEach = 25;
  const auto keyOf = [](int process, int i) { return std::to_string(process) + "." + std::to_string(i); };
  std::vector<std::unique_ptr<ChildProcess>> processes;
  for (int process = 0; process < processCount; ++process) {
    processes.push_back(std::make_unique<ChildProcess>([&] {
      auto store = freshStore();
      bool flushed = true;
      for (int i = 0; i < keysEach; ++i) {
        store.setObject(keyOf(process, i), i);
        flushed = store.synchronize() && flushed;
      }
      return flushed;
    }));
  }
  for (const auto& process : processes) EXPECT_TRUE(process->succeeds());
  auto store = freshStore();
  for (int process = 0; process < processCount; ++process) {
    for (int i = 0; i < keysEach; ++i)
      EXPECT_EQ(store.object(keyOf(process, i)), Value(i)) << keyOf(process, i);
  }
}

TEST_F(LinuxSettingsStoreTest, AKilledProcessLeavesAWholeFile) {
  std::array<int, 2> pipe{};
  ASSERT_EQ(::pipe(pipe.data()), 0);
  {
    ChildProcess process([&] {
      auto store = freshStore();
      for (int i = 1;; ++i) {
        store.setObject("count", i);
        store.setObject("ballast", std::string(50'000, 'x'));
        if (!store.synchronize() || ::write(pipe[1], "x", 1) != 1) return false;
      }
    });
    std::array<char, 1> flushed{};
    for (int i = 0; i < 10; ++i) ASSERT_EQ(::read(pipe[0], flushed.data(), 1), 1);
    process.kill();
  }
  ::close(pipe[0]);
  ::close(pipe[1]);
  auto store = freshStore();
  EXPECT_GE(store.object("count").integerValue(), 10);
  EXPECT_THAT(namesIn(data, "settings.json.corrupt-"), IsEmpty());
}

}  // namespace
}  // namespace lumora::testing
