// What the settings and the keychain on Linux have in common: a file that survives every fault.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/syscall.h>

#include <cstdlib>
#include <functional>
#include <list>
#include <new>
#include <thread>

#include "lumora/Platform/Linux/Files/LinuxKeychain.h"
#include "lumora/Platform/Linux/Files/LinuxSettingsStore.h"
#include "lumora/Testing/FakeSystemLog.h"
#include "tests/Support/ChildProcess.h"
#include "tests/Support/FileSizeLimit.h"
#include "tests/Support/TemporaryFolder.h"
#include "tests/Support/TestFiles.h"

thread_local std::string synced;  // A letter for each file or folder that was.
thread_local std::size_t largestAllocation = static_cast<std::size_t>(-1);

// clang-format off
extern "C" int fsync(int file) {
  struct stat status {};
  synced += ::fstat(file, &status) == 0 && S_ISDIR(status.st_mode) ? 'd' : 'f';
  return static_cast<int>(::syscall(SYS_fsync, file));
}
void* operator new(std::size_t size) {
  if (void* const memory = size > largestAllocation ? nullptr : std::malloc(size)) return memory;
  throw std::bad_alloc();
}
void operator delete(void* memory) noexcept { std::free(memory); }
void operator delete(void* memory, std::size_t) noexcept { std::free(memory); }
// clang-format on

namespace lumora::testing {
namespace {

namespace fs = std::filesystem;
using Texts = std::vector<std::string>;

const std::string tooMuch(kMaximumFileSize + 1, ' ');

struct Settings : LinuxSettingsStore {
  using LinuxSettingsStore::LinuxSettingsStore;
  bool put(const std::string& key, const std::string& text) {
    setObject(key, text);
    return synchronize() && !object(key).isNull();
  }
  std::string get(const std::string& key) { return object(key).isNull() ? "" : object(key).description(); }
  static constexpr const char* syncedByChange = "f";
  // clang-format off
  static inline const Texts brokenFiles = {
      "", "{", "null", "\xFF\x01", R"({"version": 1, "values": {}})" + tooMuch, R"({"version": 2, "values": {}})", R"({"version": 1})",
      R"({"version": 1, "values": []})", R"({"version": 1, "values": {"a": null}})", R"({"version": 1, "values": {"a": {"unknown": 1}}})",
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
  static constexpr const char* syncedByChange = "fd";
  // clang-format off
  static inline const Texts brokenFiles = {
      "", "{}", R"({"version": 1, "items": []})" + tooMuch, R"({"version": 1})", R"({"version": 1, "items": [1]})",
      R"({"version": 1, "items": [{"service": "=", "generic": "", "account": "", "value": ""}]})",
      R"({"version": 1, "items": [{"service": "", "generic": "", "account": ""}]})",
      R"({"version": 1, "items": [{"service": "", "generic": "", "account": "", "value": "", "access_group": "="}]})"};
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
    synced.clear();
    ASSERT_TRUE(this->store.put("a", text));
    EXPECT_EQ(synced, "dfd") << "the names of a new folder and a new file survive a power cut";
    writeFile(this->data + "/.lumora-tmp-a", "of a process that was killed");
    const FileDescriptor other(::open((this->data + "/.lumora-tmp-b").c_str(), O_CREAT | O_CLOEXEC, 0600));
    ASSERT_EQ(::flock(other.get(), LOCK_EX), 0) << "of a process that is at work";
    synced.clear();
    ASSERT_TRUE(this->store.put("b", text));
    EXPECT_EQ(synced, TypeParam::syncedByChange);
    EXPECT_EQ(this->stored("a") + this->stored("b"), text + std::string(text));
    EXPECT_EQ(modeOf(this->data), 0700U);
    EXPECT_EQ(modeOf(this->file) | modeOf(this->file + ".lock"), 0600U);
    EXPECT_THAT(namesIn(this->data), ::testing::ElementsAre(".lumora-tmp-b", "store", "store.lock"));
    fs::remove_all(this->data);
  }
}

TYPED_TEST(StoreFilesTest, ABrokenFileIsMovedAsideAndNeverOverwritten) {
  fs::create_directory(this->data);
  for (const std::string& bytes : TypeParam::brokenFiles) {
    SCOPED_TRACE(bytes.substr(0, 80));
    writeFile(this->file, bytes);
    EXPECT_EQ(this->stored("a"), "");
    writeFile(this->file, bytes);
    FakeSystemLog log;
    TypeParam fresh(this->file, &log);
    fs::remove(this->file + ".lock"), fs::create_directory(this->file + ".lock");
    EXPECT_FALSE(fresh.put("a", fresh.get("a") + "no lock, no change"));
    fs::remove(this->file + ".lock");
    EXPECT_TRUE(fresh.put("a", "text") && this->stored("a") == "text");
    const Texts aside = namesIn(this->data, "store.corrupt-");
    ASSERT_EQ(aside.size(), 2U) << "one for the look, one for the change";
    EXPECT_THAT(log.messages().back(),
                ::testing::StartsWith("LumoraSDK-The file " + this->file + " is corrupt: it is kept as " +
                                      this->file + ".corrupt-"));
    for (const std::string& name : aside) EXPECT_TRUE(readFile(this->data + "/" + name) == bytes);
    for (const std::string& name : namesIn(this->data)) fs::remove(this->data + "/" + name);
  }
  const std::string name(220, 'n');  // No room for the one that it would get.
  TypeParam named(this->folder / name);
  ASSERT_TRUE(named.put("a", "old"));
  writeFile(this->folder / name, "broken");
  for (const char* key : {"a", "b", "c"}) EXPECT_FALSE(named.put(key, named.get(key) + "new"));
  EXPECT_EQ(readFile(this->folder / name), "broken");
}

TYPED_TEST(StoreFilesTest, ThatMemoryRunsOutSaysNothingAgainstTheFile) {
  ASSERT_TRUE(this->store.put("a", "old"));
  std::string numbers = "0";  // What is read takes less memory than what is made of it.
  for (int i = 0; i < 10'000; ++i) numbers += ",0";
  writeFile(this->file, readFile(this->file).insert(1, R"("other": [)" + numbers + "],"));
  std::string found;
  for (std::size_t limit = 1024; found.empty(); limit *= 2) {
    TypeParam fresh(this->file);
    largestAllocation = limit;
    EXPECT_NO_THROW(found = fresh.get("a")) << limit;
    largestAllocation = static_cast<std::size_t>(-1);
    ASSERT_TRUE(fs::exists(this->file)) << limit;
  }
}

TYPED_TEST(StoreFilesTest, ALinkStandsForItsTargetAndTheTargetsLock) {
  const std::string link = this->folder / "link";
  fs::create_symlink("data/store", link);
  TypeParam linked(link);
  EXPECT_TRUE(linked.put("a", "text") && this->stored("a") == "text");
  std::optional<ChildProcess> child;
  {
    const auto held = StoreFile(this->file).lock();
    child.emplace([] { return ::pause() == 0; });
    EXPECT_FALSE(linked.put("b", "late")) << "the wait for a lock ends";
  }
  EXPECT_TRUE(linked.put("b", "late")) << "a forked child has the lock's file open, but not the lock";
  EXPECT_EQ(this->stored("b"), "late");
  writeFile(link, "broken");
  EXPECT_TRUE(linked.put("c", "text") && fs::is_symlink(link));
  EXPECT_EQ(namesIn(this->data, "store.corrupt-").size(), 1U);
}

TYPED_TEST(StoreFilesTest, WhatCannotBeUsedIsToldOnceAndMemoryHoldsTheValuesUntilItCan) {
  const std::pair<std::string, std::function<void()>> cases[] = {
      {"Not a directory", [this] { writeFile(this->data, ""); }},
      {"Is a directory", [this] { fs::create_directories(this->file); }},
      {"Too many levels of symbolic links",
       [this] { fs::create_directory(this->data), fs::create_symlink(this->file, this->file); }},
      {this->file + ".lock: Is a directory", [this] { fs::create_directories(this->file + ".lock"); }}};
  for (const auto& [reason, spoil] : cases) {
    SCOPED_TRACE(reason);
    spoil();
    {
      FakeSystemLog log;
      TypeParam fresh(this->file, &log);
      EXPECT_FALSE(fresh.put("a", "1") || fresh.put("b", "2"));
      EXPECT_EQ(fresh.get("a") + fresh.get("b"), "12");
      EXPECT_EQ(log.messages(), Texts{"LumoraSDK-The file " + this->file + " cannot be used: " + reason});
      fs::rename(this->data, this->folder / "aside");
      EXPECT_TRUE(fresh.put("c", "3"));
      EXPECT_EQ(this->stored("a") + this->stored("b") + this->stored("c"), "123");
    }
    for (const char* name : {"data", "aside"}) fs::remove_all(this->folder / name);
  }
}

TYPED_TEST(StoreFilesTest, AFullDiskLeavesTheOldFileWhole) {
  const std::string large(10'000, 'x');
  ASSERT_TRUE(this->store.put("a", "old"));
  EXPECT_FALSE(StoreFile(this->file).replace(tooMuch, FolderSync::never)) << "nobody could read it back";
  {
    const FileSizeLimit limit(4096);
    EXPECT_FALSE(this->store.put("a", large));
    EXPECT_EQ(this->stored("a"), "old");
    EXPECT_EQ(namesIn(this->data).size(), 2U) << "nothing half written stays";
  }
  EXPECT_TRUE(this->store.put("a", large) && this->stored("a") == large);
}

TYPED_TEST(StoreFilesTest, ProcessesAndThreadsThatWriteAtOnceLoseNothing) {
  const auto keyOf = [](int writer, int i) { return std::to_string(writer) + "." + std::to_string(i); };
  std::list<ChildProcess> processes;
  for (int process = 0; process < 4; ++process) {
    processes.emplace_back([&] {
      const auto write = [&](int writer) {
        for (int i = 0; i < 10;) i += this->store.put(keyOf(writer, i), "x");  // Others may keep the lock.
      };
      const std::jthread other([&] { write(process + 4); });
      write(process);
      return true;
    });
  }
  for (ChildProcess& process : processes) EXPECT_TRUE(process.succeeds());
  for (int i = 0; i < 80; ++i) EXPECT_EQ(this->store.get(keyOf(i / 10, i % 10)), "x") << i;
}

}  // namespace
}  // namespace lumora::testing
