#include <filesystem>
#include <thread>

#include "tests/Storage/EventStoreFixture.h"
#include "tests/Support/ChildProcess.h"
#include "tests/Support/TestFiles.h"

namespace lumora::tests {
namespace {

namespace fs = std::filesystem;

/// The store on files that are missing, broken, or used by others too.
class EventStoreFileTest : public EventStoreTest {
 protected:
  /// The store works, whatever went before.
  void expectWorks() {
    const std::size_t before = count();
    save("works");
    EXPECT_EQ(count(), before + 1);
    SQLiteConnection(path()).run("SELECT * FROM lmro_inapp");
  }
};

TEST_F(EventStoreFileTest, aMissingFolderMayComeLater) {
  const std::string folder = host.files.documentsDirectory();
  for (const char* since : {"the start", "later on"}) {
    SCOPED_TRACE(since);
    fs::remove_all(folder);
    save("lost");
    store().cleanUpEventsWith({1});
    store().cleanUpAppEvents();
    EXPECT_EQ(count(), 0U);
    fs::create_directory(folder);
    expectWorks();
  }
}

TEST_F(EventStoreFileTest, aFileDeletedMeanwhileIsMadeAnew) {
  save("gone with the file");
  fs::remove(path());
  EXPECT_EQ(count(), 0U);
  expectWorks();
  fs::remove(path());
  expectWorks();
}

TEST_F(EventStoreFileTest, aCorruptFileIsLeftAloneUntilItIsReplaced) {
  const std::string garbage(8192, 'x');
  for (const char* since : {"the start", "later on"}) {
    SCOPED_TRACE(since);
    testing::writeFile(path(), garbage);
    save("lost");
    EXPECT_EQ(count(), 0U);
    store().cleanUpAppEvents();
    EXPECT_EQ(testing::readFile(path()), garbage);
    testing::writeFile(path(), "");
    expectWorks();
  }
}

TEST_F(EventStoreFileTest, aFileReplacedByOneWithoutTablesCostsOneEvent) {
  save("gone with the file");
  testing::writeFile(path(), "");
  save("lost");
  expectWorks();
}

TEST_F(EventStoreFileTest, processesAtOnceLoseNoEvent) {
  constexpr int perProcess = 25;
  // Another process does not follow the fake clock: waiting for it takes real time.
  host.clock.setSleepHook([](std::chrono::milliseconds duration) { std::this_thread::sleep_for(duration); });
  const auto saveAll = [] {
    for (int i = 0; i < perProcess; ++i) save("event");
    return true;
  };
  testing::ChildProcess first(saveAll);
  testing::ChildProcess second(saveAll);
  saveAll();
  EXPECT_TRUE(first.succeeds());
  EXPECT_TRUE(second.succeeds());
  EXPECT_EQ(count(), 3U * perProcess);
}

}  // namespace
}  // namespace lumora::tests
