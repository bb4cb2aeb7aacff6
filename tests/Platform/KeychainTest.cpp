#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <list>

#include "lumora/Platform/Linux/LinuxKeychain.h"
#include "lumora/Testing/FakeKeychain.h"
#include "tests/Support/ChildProcess.h"
#include "tests/Support/FileSizeLimit.h"
#include "tests/Support/TemporaryFolder.h"
#include "tests/Support/TestFiles.h"

namespace lumora::testing {
namespace {

namespace fs = std::filesystem;
using Status = KeychainStatus;
using Text = std::optional<std::string>;

KeychainItem item(std::string service, std::string key, Text group, char value) {
  return {std::move(service), key, key, std::move(group), {}, Data{static_cast<std::uint8_t>(value)}};
}

KeychainQuery query(Text service, Text key = {}, Text group = {}) { return {std::move(service), key, key, std::move(group)}; }

/// The values of the matching items, one letter each, in the keychain's order.
std::string valuesOf(Keychain& keychain, const KeychainQuery& query) {
  std::vector<KeychainItem> items(1);
  EXPECT_EQ(keychain.copyAllMatching(query, items), items.empty() ? Status::itemNotFound : Status::success);
  std::string values;
  for (const KeychainItem& item : items) values.append(item.value.begin(), item.value.end());
  return values;
}

struct TemporaryLinuxKeychain : TemporaryFolder, LinuxKeychain {
  TemporaryLinuxKeychain() : LinuxKeychain(*this / "private/keychain") {}
};

template <typename Implementation>
struct KeychainTest : ::testing::Test {
  KeychainTest() {
    for (const KeychainItem& added : items) EXPECT_EQ(keychain.add(added), Status::success);
  }
  Implementation keychain;
  const std::vector<KeychainItem> items = {item("s", "k", {}, 'a'), item("s", "l", {}, 'b'), item("t", "k", {}, 'c'), item("s", "k", "g", 'd'), item("s", "k", "", 'e')};
};

using Keychains = ::testing::Types<FakeKeychain, TemporaryLinuxKeychain>;
TYPED_TEST_SUITE(KeychainTest, Keychains);

TYPED_TEST(KeychainTest, AnItemMatchesWhenItCarriesEveryGivenAttribute) {
  const std::pair<KeychainQuery, std::string> cases[] = {
      {query({}), "abcde"},
      {query("s"), "abde"},
      {query("s", "k"), "ade"},
      {query("s", "k", "g"), "d"},
      {query("s", "k", ""), "e"},
      {query({}, {}, "g"), "d"},
      {query(""), ""},
      {query("s", "k", "other"), ""},
      {{"s", "k", "l", {}}, ""}};
  for (const auto& [query, values] : cases) {
    SCOPED_TRACE(query.service.value_or("-") + query.generic.value_or("-") + query.accessGroup.value_or("-"));
    EXPECT_EQ(valuesOf(this->keychain, query), values);
    KeychainItem found;
    EXPECT_EQ(this->keychain.copyMatching(query, &found), values.empty() ? Status::itemNotFound : Status::success);
    EXPECT_EQ(std::string(found.value.begin(), found.value.end()), values.substr(0, 1));
  }
}

TYPED_TEST(KeychainTest, AddsOnceAndUpdatesAndRemovesEveryMatch) {
  for (KeychainItem again : this->items) {
    again.generic = "another";
    again.value = {'x'};
    EXPECT_EQ(this->keychain.add(again), Status::failure) << "service, account and group are unique together";
  }
  EXPECT_EQ(this->keychain.update(query("s", "k"), {'x'}), Status::success);
  EXPECT_EQ(valuesOf(this->keychain, {}), "xbcxx");
  EXPECT_EQ(this->keychain.update(query("unknown"), {'y'}), Status::itemNotFound);
  EXPECT_EQ(this->keychain.remove(query("s", "k", "g")), Status::success);
  EXPECT_EQ(this->keychain.remove(query("s", "k", "g")), Status::itemNotFound);
  EXPECT_EQ(this->keychain.remove(query("s")), Status::success);
  EXPECT_EQ(valuesOf(this->keychain, {}), "c");
}

TYPED_TEST(KeychainTest, KeepsArbitraryBytes) {
  std::string bytes;
  for (int c = 0; c < 256; ++c) bytes += static_cast<char>(c);
  const Data value(bytes.begin(), bytes.end());
  ASSERT_EQ(this->keychain.add({bytes + "s", bytes + "g", bytes + "a", bytes, {}, value}), Status::success);
  KeychainItem found;
  ASSERT_EQ(this->keychain.copyMatching({bytes + "s", bytes + "g", bytes + "a", bytes}, &found), Status::success);
  EXPECT_EQ(found.value, value);
}

struct LinuxKeychainTest : ::testing::Test {
  std::string values() const {
    LinuxKeychain fresh(file);
    return valuesOf(fresh, {});
  }
  TemporaryFolder folder;
  const std::string data = folder / "private";
  const std::string file = data + "/keychain";
  LinuxKeychain keychain{file};
  const KeychainItem first = item("s", "k", {}, 'a');
};

TEST_F(LinuxKeychainTest, IsTheOwnersAloneAndSeesWhatOthersChange) {
  EXPECT_EQ(keychain.copyMatching({}, nullptr), Status::itemNotFound);
  EXPECT_FALSE(fs::exists(data)) << "looking makes nothing";
  ASSERT_EQ(keychain.add(first), Status::success);
  EXPECT_EQ(modeOf(data), 0700U);
  EXPECT_EQ(modeOf(file), 0600U);
  LinuxKeychain other(file);
  EXPECT_EQ(other.add(first), Status::failure);
  EXPECT_EQ(other.update({}, {'b'}), Status::success);
  EXPECT_EQ(valuesOf(keychain, {}), "b");
  fs::remove_all(data);
  EXPECT_EQ(valuesOf(keychain, {}), "");
}

TEST_F(LinuxKeychainTest, ABrokenFileIsMovedAsideAndNeverOverwritten) {
  fs::create_directory(data);
  for (const std::string bytes : {"", "{}", R"({"version": 1})", R"({"version": 1, "items": [1]})",
      R"({"version": 1, "items": [{"service": "=", "generic": "", "account": "", "value": ""}]})",
      R"({"version": 1, "items": [{"service": "", "generic": "", "account": ""}]})"}) {
    for (const bool isLookedAtFirst : {true, false}) {
      SCOPED_TRACE(bytes);
      writeFile(file, bytes);
      if (isLookedAtFirst) EXPECT_EQ(valuesOf(keychain, {}), "");
      EXPECT_EQ(keychain.add(first), Status::success);
      EXPECT_EQ(values(), "a");
      const auto aside = namesIn(data, "keychain.corrupt-");
      ASSERT_EQ(aside.size(), 1U);
      EXPECT_EQ(readFile(data + "/" + aside.front()), bytes);
      fs::remove(data + "/" + aside.front());
    }
  }
}

TEST_F(LinuxKeychainTest, WhatCannotBeUsedRefusesAndAFullDiskLeavesTheOldFile) {
  for (const bool isFolder : {true, false}) {
    SCOPED_TRACE(isFolder ? "a folder in the file's place" : "a file in the folder's place");
    isFolder ? static_cast<void>(fs::create_directories(file)) : writeFile(data, "");
    std::vector<KeychainItem> items;
    EXPECT_EQ(keychain.copyMatching({}, nullptr), Status::failure);
    EXPECT_EQ(keychain.copyAllMatching({}, items), Status::failure);
    EXPECT_EQ(keychain.add(first), Status::failure);
    EXPECT_EQ(keychain.update({}, {}), Status::failure);
    EXPECT_EQ(keychain.remove({}), Status::failure);
    fs::remove_all(data);
  }
  EXPECT_EQ(keychain.add(first), Status::success) << "the fault is gone";
  {
    const FileSizeLimit limit(4096);
    EXPECT_EQ(keychain.update({}, Data(10'000)), Status::failure);
  }
  EXPECT_EQ(values(), "a");
  EXPECT_EQ(valuesOf(keychain, {}), "a");
}

TEST_F(LinuxKeychainTest, ProcessesThatAddAtOnceLoseNothing) {
  std::list<ChildProcess> processes;
  for (int process = 0; process < 4; ++process) {
    processes.emplace_back([&] {
      bool added = true;
      for (int i = 0; i < 10; ++i) added = keychain.add(item(std::to_string(process), std::to_string(i), {}, 'x')) == Status::success && added;
      return added;
    });
  }
  for (ChildProcess& process : processes) EXPECT_TRUE(process.succeeds());
  EXPECT_EQ(values(), std::string(40, 'x'));
}

}  // namespace
}  // namespace lumora::testing
