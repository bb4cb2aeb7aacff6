#include "lumora/Platform/Linux/LinuxKeychain.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <memory>

#include "tests/Support/ChildProcess.h"
#include "tests/Support/FileSizeLimit.h"
#include "tests/Support/TemporaryFolder.h"
#include "tests/Support/TestFiles.h"

namespace lumora::testing {
namespace {

namespace fs = std::filesystem;

KeychainItem item(const std::string& key, Data value = {1}) {
  return {"service", key, key, std::nullopt, {}, std::move(value)};
}

class LinuxKeychainTest : public ::testing::Test {
 protected:
  std::size_t itemCount() const {
    std::vector<KeychainItem> items;
    LinuxKeychain(file).copyAllMatching({}, items);
    return items.size();
  }

  TemporaryFolder folder;
  const std::string data = folder / "private";
  const std::string file = data + "/keychain";
  LinuxKeychain keychain{file};
};

TEST_F(LinuxKeychainTest, FileAndFolderAreTheOwnersAlone) {
  EXPECT_EQ(keychain.copyMatching({}, nullptr), KeychainStatus::itemNotFound);
  EXPECT_FALSE(fs::exists(data)) << "looking makes nothing";
  ASSERT_EQ(keychain.add(item("a")), KeychainStatus::success);
  EXPECT_EQ(modeOf(data), 0700U);
  EXPECT_EQ(modeOf(file), 0600U);
  EXPECT_EQ(itemCount(), 1U);
}

TEST_F(LinuxKeychainTest, SeesWhatOthersChangeMeanwhile) {
  LinuxKeychain other(file);
  ASSERT_EQ(keychain.add(item("a", {1})), KeychainStatus::success);
  ASSERT_EQ(other.add(item("a", {2})), KeychainStatus::failure);
  ASSERT_EQ(other.update({}, {3}), KeychainStatus::success);
  KeychainItem found;
  ASSERT_EQ(keychain.copyMatching({}, &found), KeychainStatus::success);
  EXPECT_EQ(found.value, Data{3});
  fs::remove_all(data);
  EXPECT_EQ(keychain.copyMatching({}, nullptr), KeychainStatus::itemNotFound);
}

TEST_F(LinuxKeychainTest, ABrokenFileIsMovedAsideAndNeverOverwritten) {
  const std::vector<std::string> broken = {
      "",
      "{}",
      R"({"version": 1})",
      R"({"version": 1, "items": [1]})",
      R"({"version": 1, "items": [{"service": "=", "generic": "", "account": "", "value": ""}]})",
      R"({"version": 1, "items": [{"service": "", "generic": "", "account": ""}]})"};
  fs::create_directory(data);
  for (const std::string& bytes : broken) {
    for (const bool isLookedAtFirst : {true, false}) {
      SCOPED_TRACE(bytes);
      writeFile(file, bytes);
      if (isLookedAtFirst) {
        EXPECT_EQ(keychain.copyMatching({}, nullptr), KeychainStatus::itemNotFound);
      }
      EXPECT_EQ(keychain.add(item("a")), KeychainStatus::success);
      EXPECT_EQ(itemCount(), 1U);
      const auto aside = namesIn(data, "keychain.corrupt-");
      ASSERT_EQ(aside.size(), 1U);
      EXPECT_EQ(readFile(data + "/" + aside.front()), bytes);
      fs::remove(data + "/" + aside.front());
    }
  }
}

TEST_F(LinuxKeychainTest, AFileThatCannotBeUsedRefusesEverything) {
  const std::vector<std::pair<const char*, std::function<void()>>> faults = {
      {"a folder in the file's place", [&] { fs::create_directories(file); }},
      {"a file in the folder's place", [&] { writeFile(data, ""); }},
  };
  for (const auto& [name, breakFile] : faults) {
    SCOPED_TRACE(name);
    breakFile();
    std::vector<KeychainItem> items;
    EXPECT_EQ(keychain.copyMatching({}, nullptr), KeychainStatus::failure);
    EXPECT_EQ(keychain.copyAllMatching({}, items), KeychainStatus::failure);
    EXPECT_EQ(keychain.add(item("a")), KeychainStatus::failure);
    EXPECT_EQ(keychain.update({}, {}), KeychainStatus::failure);
    EXPECT_EQ(keychain.remove({}), KeychainStatus::failure);
    fs::remove_all(data);
    EXPECT_EQ(keychain.add(item("a")), KeychainStatus::success) << "the fault is gone";
    fs::remove_all(data);
  }
}

TEST_F(LinuxKeychainTest, AFullDiskRefusesAndLeavesTheOldFileWhole) {
  ASSERT_EQ(keychain.add(item("a")), KeychainStatus::success);
  const std::string before = readFile(file);
  {
    const FileSizeLimit limit(4096);
    EXPECT_EQ(keychain.add(item("b", Data(10'000))), KeychainStatus::failure);
  }
  EXPECT_EQ(readFile(file), before);
  EXPECT_EQ(itemCount(), 1U);
  EXPECT_EQ(keychain.copyMatching({.service = {}, .generic = {}, .account = "b", .accessGroup = {}}, nullptr),
            KeychainStatus::itemNotFound);
}

TEST_F(LinuxKeychainTest, ProcessesThatAddAtOnceLoseNothing) {
  constexpr int processCount = 4;
  constexpr int itemsEach = 10;
  std::vector<std::unique_ptr<ChildProcess>> processes;
  for (int process = 0; process < processCount; ++process) {
    processes.push_back(std::make_unique<ChildProcess>([&] {
      bool added = true;
      for (int i = 0; i < itemsEach; ++i) {
        const std::string key = std::to_string(process) + "." + std::to_string(i);
        added = keychain.add(item(key)) == KeychainStatus::success && added;
      }
      return added;
    }));
  }
  for (const auto& process : processes) EXPECT_TRUE(process->succeeds());
  EXPECT_EQ(itemCount(), std::size_t{processCount * itemsEach});
}

}  // namespace
}  // namespace lumora::testing
