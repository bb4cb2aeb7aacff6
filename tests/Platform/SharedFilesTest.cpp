#include <gtest/gtest.h>

#include <thread>
#include <tuple>

#include "lumora/Platform/FileLock.h"
#include "lumora/Platform/Linux/Files/LinuxSharedFiles.h"
#include "lumora/Testing/FakePlatform.h"
#include "tests/Support/ChildProcess.h"
#include "tests/Support/TemporaryFolder.h"
#include "tests/Support/TestFiles.h"

namespace lumora::testing {
namespace {

template <typename Implementation>
struct SharedFilesTest : ::testing::Test {
  TemporaryFolder folder;
  Implementation files;
};

using SharedFilesTypes = ::testing::Types<FakeSharedFiles, LinuxSharedFiles>;
TYPED_TEST_SUITE(SharedFilesTest, SharedFilesTypes);

TYPED_TEST(SharedFilesTest, WhatItMakesIsTheOwnersAloneAndNothingIsReplaced) {
  const std::string made = this->folder / "a/b/file", old = this->folder / "old", aside = old + "-aside";
  writeFile(old, "content");
  EXPECT_NE(this->files.makePrivateFile(made).value_or(""), "") << "its folder is missing";
  EXPECT_EQ(this->files.makeFolder(this->folder / "a/b"), std::nullopt);
  EXPECT_EQ(modeOf(this->folder / "a") | modeOf(this->folder / "a/b"), 0700U);
  for (const std::string& file : {made, old}) EXPECT_EQ(this->files.makePrivateFile(file), std::nullopt);
  EXPECT_EQ(modeOf(made) | modeOf(old), 0600U);
  EXPECT_NE(this->files.moveAside(old, made).value_or(""), "") << "that path is taken";
  EXPECT_EQ(this->files.moveAside(old, aside), std::nullopt);
  EXPECT_EQ(readFile(aside), "content");
  for (const std::string& path : {made, made + "/below", std::string("/tmp\0hidden", 11), std::string()})
    EXPECT_NE(this->files.makeFolder(path).value_or(""), "") << path;
}

TYPED_TEST(SharedFilesTest, ALockKeepsOutEveryOtherCallerOfTheProcess) {
  const std::string path = this->folder / "lock";
  for (const FileLockState state : {FileLockState::taken, FileLockState::busy})
    EXPECT_EQ(this->files.tryLock(path), state);
  EXPECT_EQ(this->files.tryLock(path + "-other"), FileLockState::taken);
  this->files.unlock(path);
  std::thread([&] { EXPECT_EQ(this->files.tryLock(path), FileLockState::taken); }).join();
}

TEST(LinuxSharedFilesTest, ALockIsTheProcessesAndFreeWhenItIsKilled) {
  const TemporaryFolder folder;
  const std::string path = folder / "made/lock", ready = folder / "ready";
  LinuxSharedFiles files;
  const auto isBusyForAChild = [&] {
    return ChildProcess([&] { return files.tryLock(path) == FileLockState::busy; }).succeeds();
  };
  ASSERT_EQ(files.tryLock(path), FileLockState::taken);
  EXPECT_EQ(modeOf(path) | modeOf(folder / "made"), 0700U);
  EXPECT_TRUE(isBusyForAChild()) << "a child inherits no lock, and by ending frees none";
  EXPECT_TRUE(isBusyForAChild());
  files.unlock(path);
  EXPECT_FALSE(isBusyForAChild());

  ASSERT_EQ(::mkfifo(ready.c_str(), 0600), 0);
  ChildProcess holder([&] {
    const bool isHeld = files.tryLock(path) == FileLockState::taken;
    writeFile(ready, "x");
    while (isHeld) ::pause();
    return false;
  });
  readFile(ready);
  EXPECT_EQ(files.tryLock(path), FileLockState::busy);
  holder.kill();
  EXPECT_EQ(files.tryLock(path), FileLockState::taken);
  files.unlock(path);

  std::filesystem::remove_all(folder / "made");
  EXPECT_EQ(files.tryLock(path), FileLockState::taken) << "a lock file that has gone is made again";
  EXPECT_TRUE(isBusyForAChild());
  EXPECT_EQ(files.tryLock("/proc/lock"), FileLockState::unsupported);
}

TEST(FileLockTest, WaitsByTheClockToItsLimitAndShorterOnTheMainThread) {
  FakePlatform& host = FakePlatform::install();
  int waited = 0, freedAfter = 0;
  host.clock.setSleepHook([&](std::chrono::milliseconds pause) {
    waited += static_cast<int>(pause.count());
    if (waited == freedAfter) host.sharedFiles.unlock("/lock");
  });
  const std::tuple<bool, int, int, int> cases[] = {// On the main thread, limit, freed after, waited.
                                                   {false, 15'000, 0, 15'000},
                                                   {false, 15'000, 14'980, 14'980},
                                                   {false, 0, 0, 0},
                                                   {true, 15'000, 0, 200}};
  for (const auto& [onMainThread, limit, freed, expected] : cases) {
    waited = 0;
    freedAfter = freed;
    host.sharedFiles.tryLock("/lock");
    host.queues.setMainThread(onMainThread);
    EXPECT_EQ(FileLock("/lock", std::chrono::milliseconds(limit)).state(),
              freed != 0 ? FileLockState::taken : FileLockState::busy);
    EXPECT_EQ(waited, expected);
    EXPECT_EQ(host.sharedFiles.isLocked("/lock"), freed == 0) << "given back at the end of its scope";
  }
}

}  // namespace
}  // namespace lumora::testing
