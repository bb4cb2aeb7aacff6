#include <gtest/gtest.h>

#include <thread>

#include "lumora/Platform/FileLock.h"
#include "lumora/Platform/Linux/LinuxSharedFiles.h"
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

TYPED_TEST(SharedFilesTest, FoldersAndFilesAreTheOwnersAloneAndNothingIsReplaced) {
  const std::string file = this->folder / "a/b/file";
  EXPECT_NE(this->files.makePrivateFile(file).value_or(""), "") << "its folder is missing";
  EXPECT_EQ(this->files.makeFolder(this->folder / "a/b"), std::nullopt);
  EXPECT_EQ(modeOf(this->folder / "a") | modeOf(this->folder / "a/b"), 0700U);
  EXPECT_EQ(this->files.makePrivateFile(file), std::nullopt);
  EXPECT_EQ(readFile(file), "");
  writeFile(this->folder / "old", "content");
  EXPECT_EQ(this->files.makePrivateFile(this->folder / "old"), std::nullopt);
  EXPECT_EQ(modeOf(file) | modeOf(this->folder / "old"), 0600U);
  EXPECT_NE(this->files.moveAside(this->folder / "old", file).value_or(""), "") << "that path is taken";
  EXPECT_EQ(this->files.moveAside(this->folder / "old", this->folder / "aside"), std::nullopt);
  EXPECT_EQ(readFile(this->folder / "aside"), "content");
  for (const std::string& path : {file, file + "/below", std::string("/tmp\0hidden", 11), std::string()})
    EXPECT_NE(this->files.makeFolder(path).value_or(""), "") << path;
  EXPECT_NE(this->files.makePrivateFile(this->folder / "a").value_or(""), "") << "a folder";
}

TYPED_TEST(SharedFilesTest, ALockKeepsOutEveryOtherCallerOfTheProcess) {
  const std::string path = this->folder / "lock", other = this->folder / "other";
  EXPECT_EQ(this->files.tryLock(path), FileLockState::taken);
  EXPECT_EQ(this->files.tryLock(path), FileLockState::busy);
  EXPECT_EQ(this->files.tryLock(other), FileLockState::taken);
  std::thread([&] { EXPECT_EQ(this->files.tryLock(path), FileLockState::busy); }).join();
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
  std::chrono::milliseconds waited(0), freedAfter(0);
  host.clock.setSleepHook([&](std::chrono::milliseconds pause) {
    waited += pause;
    if (waited == freedAfter) host.sharedFiles.unlock("/lock");
  });
  struct Case {
    bool isMainThread;
    int limit, freed, waits;
    FileLockState state;
  };
  for (const Case& wait :
       {Case{false, 15'000, 0, 15'000, FileLockState::busy},
        Case{false, 15'000, 14'980, 14'980, FileLockState::taken}, Case{false, 0, 0, 0, FileLockState::busy},
        Case{true, 15'000, 0, 200, FileLockState::busy}, Case{true, 100, 0, 100, FileLockState::busy}}) {
    waited = std::chrono::milliseconds(0);
    freedAfter = std::chrono::milliseconds(wait.freed);
    host.sharedFiles.tryLock("/lock");
    host.queues.setMainThread(wait.isMainThread);
    EXPECT_EQ(FileLock("/lock", std::chrono::milliseconds(wait.limit)).state(), wait.state) << wait.limit;
    EXPECT_EQ(waited.count(), wait.waits);
    EXPECT_EQ(host.sharedFiles.isLocked("/lock"), wait.state == FileLockState::busy);
  }
  host.sharedFiles.setLocksUnsupported(true);
  EXPECT_EQ(FileLock("/lock", std::chrono::seconds(15)).state(), FileLockState::unsupported);
}

}  // namespace
}  // namespace lumora::testing
