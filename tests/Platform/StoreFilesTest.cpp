// What the settings and the keychain on Linux have in common: a file that survives every fault.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <list>
#include <thread>

#include "lumora/Platform/Linux/LinuxKeychain.h"
#include "lumora/Platform/Linux/LinuxSettingsStore.h"
#include "tests/Support/ChildProcess.h"
#include "tests/Support/FileSizeLimit.h"
#include "tests/Support/TemporaryFolder.h"
#include "tests/Support/TestFiles.h"

namespace lumora::testing {
namespace {

namespace fs = std::filesystem;
using Texts = std::vector<std::string>;

struct Settings : LinuxSettingsStore {
  using LinuxSettingsStore::LinuxSettingsStore;
  bool put(const std::string& key, const std::string& text) {
    setObject(key, text);
    return synchronize() && !object(key).isNull();
  }
  std::string get(const std::string& key) { return object(key).isNull() ? "" : object(key).description(); }
  // clang-format off
  static inline const Texts brokenFiles = {
      "", "{", "null", "\xFF\x01", R"({"version": 2, "values": {}})", R"({"version": 1, "values": []})",
      R"({"version": 1})", R"({"version": 1, "values": {"a": null}})", R"({"version": 1, "values": {"a": {"unknown": 1}}})",
      R"({"version": 1, "values": {"a": {"date": "yesterday"}}})", R"({"version": 1, "values": {"a": {"data": "A=B="}}})"};
  // clang-format on
};

struct Secrets : LinuxKeychain {
  using LinuxKeychain::LinuxKeychain;
  bool put(const std::string& key, const std::string& text) {
    const Data data(text.begin(), text.end());
    return add({key, key, key, {}, {}, data}) == KeychainStatus::success ||
           update({key, {}, {}, {}}, data) == KeychainStatus::success;
  }
  std::string get(const std::string& key) {
    KeychainItem found;
    copyMatching({key, {}, {}, {}}, &found);
    return {found.value.begin(), found.value.end()};
  }
  // clang-format off
  static inline const Texts brokenFiles = {
      "", "{}", R"({"version": 1})", R"({"version": 1, "items": [1]})",
      R"({"version": 1, "items": [{"service": "=", "generic": "", "account": "", "value": ""}]})",
      R"({"version": 1, "items": [{"service": "", "generic": "", "account": ""}]})"};
  // clang-format on
};

template <typename Store>
struct StoreFilesTest : ::testing::Test {
  std::string stored(const std::string& key) const { return Store(file).get(key); }
  TemporaryFolder folder;
  const std::string data = folder / "data";
  const std::string file = data + "/store";
  Store store{file};
};

using Stores = ::testing::Types<Settings, Secrets>;
TYPED_TEST_SUITE(StoreFilesTest, Stores);

TYPED_TEST(StoreFilesTest, IsTheOwnersAloneAndMadeWhenItIsMissing) {
  EXPECT_EQ(this->store.get("a"), "");
  EXPECT_FALSE(fs::exists(this->data)) << "looking makes nothing";
  for (const char* text : {"first", "again"}) {
    ASSERT_TRUE(this->store.put("a", text));
    EXPECT_EQ(this->stored("a"), text);
    EXPECT_EQ(modeOf(this->data), 0700U);
    EXPECT_EQ(modeOf(this->file), 0600U);
    EXPECT_THAT(namesIn(this->data), ::testing::ElementsAre("store", "store.lock"));
    fs::remove_all(this->data);
  }
}

TYPED_TEST(StoreFilesTest, ABrokenFileIsMovedAsideAndNeverOverwritten) {
  fs::create_directory(this->data);
  for (const std::string& bytes : TypeParam::brokenFiles) {
    SCOPED_TRACE(bytes);
    writeFile(this->file, bytes);
    EXPECT_EQ(this->stored("a"), "");
    writeFile(this->file, bytes);
    TypeParam fresh(this->file);
    EXPECT_TRUE(fresh.put("a", "text"));
    EXPECT_EQ(this->stored("a"), "text");
    const Texts aside = namesIn(this->data, "store.corrupt-");
    ASSERT_EQ(aside.size(), 2U) << "one for the look, one for the change";
    for (const std::string& name : aside) EXPECT_EQ(readFile(this->data + "/" + name), bytes);
    for (const std::string& name : namesIn(this->data)) fs::remove(this->data + "/" + name);
  }
}

TYPED_TEST(StoreFilesTest, WhatCannotBeUsedHoldsNothingUntilItCan) {
  for (const std::string fault :
       {"a folder in the file's place", "a file in the folder's place", "a link to itself"}) {
    SCOPED_TRACE(fault);
    if (fault.starts_with("a file")) writeFile(this->data, "");
    if (fault.starts_with("a folder")) fs::create_directories(this->file);
    if (fault.starts_with("a link"))
      fs::create_directory(this->data), fs::create_symlink(this->file, this->file);
    TypeParam fresh(this->file);
    EXPECT_FALSE(fresh.put("lost", "text"));
    fs::remove_all(this->data);
    EXPECT_TRUE(fresh.put("a", "text"));
    EXPECT_EQ(this->stored("a") + this->stored("lost"), "text");
    fs::remove_all(this->data);
  }
}

TYPED_TEST(StoreFilesTest, AFullDiskLeavesTheOldFileWhole) {
  const std::string large(10'000, 'x');
  ASSERT_TRUE(this->store.put("a", "old"));
  {
    const FileSizeLimit limit(4096);
    EXPECT_FALSE(this->store.put("a", large));
  }
  EXPECT_EQ(this->stored("a"), "old");
  EXPECT_EQ(namesIn(this->data).size(), 2U) << "nothing half written stays";
  EXPECT_TRUE(this->store.put("a", large));
  EXPECT_EQ(this->stored("a"), large);
}

TYPED_TEST(StoreFilesTest, ProcessesAndThreadsThatWriteAtOnceLoseNothing) {
  const auto keyOf = [](int writer, int i) { return std::to_string(writer) + "." + std::to_string(i); };
  std::list<ChildProcess> processes;
  for (int process = 0; process < 4; ++process) {
    processes.emplace_back([&] {
      std::atomic<int> failures = 0;
      const auto write = [&](int writer) {
        for (int i = 0; i < 10; ++i) failures += !this->store.put(keyOf(writer, i), "x");
      };
      std::jthread other([&] { write(process + 4); });
      write(process);
      other.join();
      return failures == 0;
    });
  }
  for (ChildProcess& process : processes) EXPECT_TRUE(process.succeeds());
  for (int i = 0; i < 80; ++i) EXPECT_EQ(this->store.get(keyOf(i / 10, i % 10)), "x") << i;
}

}  // namespace
}  // namespace lumora::testing
