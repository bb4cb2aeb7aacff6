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
    EXPECT_EQ(
        SQLiteConnection(path()).texts(
            "SELECT name FROM sqlite_master WHERE name IN ('ostrel_events', 'lmro_inapp') ORDER BY name"),
        (std::vector<std::string>{"lmro_inapp", "ostrel_events"}));
  }
};

TEST_F(EventStoreFileTest, aFolderThatIsMissingAtTheStartMayComeLater) {
  const std::string folder = host.files.documentsDirectory();
  fs::remove(folder);
  save("lost");
  EXPECT_EQ(count(), 0U);
  fs::create_directory(folder);
  expectWorks();
}

TEST_F(EventStoreFileTest, aFileDeletedMeanwhileIsMadeAnew) {
  save("gone with the file");
  fs::remove(path());
  EXPECT_EQ(count(), 0U);
  expectWorks();
  fs::remove(path());
  expectWorks();
}

TEST_F(EventStoreFileTest, theFolderMayVanishMeanwhile) {
  save("gone");
  const std::string folder = host.files.documentsDirectory();
  fs::remove_all(folder);
  save("lost");
  EXPECT_EQ(count(), 0U);
  fs::create_directory(folder);
  expectWorks();
}

TEST_F(EventStoreFileTest, aCorruptFileIsLeftAloneUntilItIsReplaced) {
  const std::string garbage(8192, 'x');
  testing::writeFile(path(), garbage);
  save("lost");
  EXPECT_EQ(count(), 0U);
  store().cleanUpAppEvents();
  EXPECT_EQ(testing::readFile(path()), garbage);
  testing::writeFile(path(), "");
  expectWorks();

  testing::writeFile(path(), garbage);
  save("lost too");
  EXPECT_EQ(testing::readFile(path()), garbage);
  fs::remove(path());
  expectWorks();
}

TEST_F(EventStoreFileTest, aFileReplacedByOneWithoutTablesCostsOneEvent) {
  save("gone with the file");
  testing::writeFile(path(), "");
  save("lost");
  expectWorks();
}

TEST_F(EventStoreFileTest, aFolderInPlaceOfTheFileMayGo) {
  fs::create_directory(path());
  save("lost");
  EXPECT_EQ(count(), 0U);
  store().cleanUpEventsWith({1});
  store().cleanUpAppEvents();
  fs::remove(path());
  expectWorks();
}

TEST_F(EventStoreFileTest, theStoredEventsOutliveTheProcess) {
  testing::ChildProcess earlier([] {
    save("earlier");
    return true;
  });
  ASSERT_TRUE(earlier.succeeds());
  save("now");
  EXPECT_EQ(queue().text, record("earlier") + "\n" + record("now"));
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
