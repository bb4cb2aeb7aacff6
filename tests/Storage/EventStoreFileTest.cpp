#include <algorithm>
#include <filesystem>
#include <fstream>
#include <thread>
#include <tuple>

#include "tests/Storage/EventStoreFixture.h"
#include "tests/Support/FileSizeLimit.h"
#include "tests/Support/TestFiles.h"

namespace lumora::tests {
namespace {

namespace fs = std::filesystem;
using std::chrono::milliseconds;
using testing::modeOf;
using testing::namesIn;
using Lines = std::vector<std::string>;

/// The store on files that are missing, broken, or used by others too.
class EventStoreFileTest : public EventStoreTest {
 protected:
  std::string folder() { return host.files.documentsDirectory(); }

  /// How many lines name the database, and forget them.
  std::size_t linesOnTheFile() {
    const Lines lines = host.log.messages();
    host.log.clear();
    return static_cast<std::size_t>(std::ranges::count_if(
        lines, [&](const std::string& line) { return line.find(path()) != std::string::npos; }));
  }
};

TEST_F(EventStoreFileTest, whateverIsMissingIsMadeAgainForTheOwnerAlone) {
  const std::pair<const char*, std::function<void()>> cases[] = {
      {"a wide file at the start",
       [&] {
         fs::create_directory(folder());
         fs::permissions(folder(), fs::perms::owner_all);
         testing::writeFile(path(), "");
         fs::permissions(path(), fs::perms::all);
       }},
      {"no folder", [&] { fs::remove_all(folder()); }},
      {"no file", [&] { fs::remove(path()); }},
      {"no tables", [&] { testing::writeFile(path(), ""); }},
      {"one table",
       [&] { SQLiteConnection(path()).run("DELETE FROM ostrel_events; DROP TABLE lmro_inapp"); }},
  };
  for (const auto& [what, remove] : cases) {
    SCOPED_TRACE(what);
    remove();
    save("kept");
    EXPECT_EQ(queue().text, record("kept"));
    EXPECT_EQ(modeOf(folder()), 0700U);
    EXPECT_EQ(modeOf(path()), 0600U);
    host.log.clear();
  }
}

TEST_F(EventStoreFileTest, aFileThatCannotBeUsedIsToldOncePerChange) {
  const std::string elsewhere = fs::path(folder()).parent_path() / "elsewhere";
  const auto hide = [&] { fs::rename(folder(), elsewhere); };
  const auto show = [&] { fs::remove_all(folder()), fs::rename(elsewhere, folder()); };
  std::optional<testing::FileSizeLimit> fullDisk;
  const std::tuple<const char*, std::function<void()>, std::function<void()>> cases[] = {
      {"no folder can be made", [&] { hide(), host.sharedFiles.setFails(true); },
       [&] { host.sharedFiles.setFails(false), show(); }},
      {"the folder is a file", [&] { hide(), testing::writeFile(folder(), ""); }, show},
      {"the disk is full", [&] { fullDisk.emplace(0); }, [&] { fullDisk.reset(); }},
  };
  save("kept");
  for (const auto& [what, spoil, mend] : cases) {
    SCOPED_TRACE(what);
    const std::string before = queue().text;
    host.log.clear();
    for (int round = 0; round < 2; ++round) {
      spoil();
      for (const char* name : {"lost", "lost too", "lost as well"}) save(name);
      mend();
      EXPECT_EQ(linesOnTheFile(), 1U) << round;
      save("kept");
    }
    EXPECT_EQ(queue().text, before + "\n" + record("kept") + "\n" + record("kept"));
    EXPECT_EQ(linesOnTheFile(), 0U);
  }
}

TEST_F(EventStoreFileTest, aCorruptFileIsMovedAsideAndWhatCanBeReadCarriedOver) {
  const auto run = [this](const char* sql) { return [this, sql] { SQLiteConnection(path()).run(sql); }; };
  const std::string garbage(4096, 'g');
  const std::function<void()> damagePage = [&] {
    std::fstream(path(), std::ios::in | std::ios::out | std::ios::binary).seekp(6L * 4096) << garbage;
  };
  const std::tuple<const char*, std::function<void()>, std::size_t, const char*> cases[] = {
      {"no database", [&] { testing::writeFile(path(), garbage); }, 0, "0"},
      {"no event column", run("ALTER TABLE ostrel_events RENAME COLUMN event TO other"), 0, "1"},
      {"a campaign column missing", run("ALTER TABLE lmro_inapp DROP COLUMN paused"), 9, "0"},
      {"a view", run("ALTER TABLE ostrel_events RENAME TO t; CREATE VIEW ostrel_events AS SELECT * FROM t"),
       0, "1"},
      {"an index", run("ALTER TABLE ostrel_events RENAME TO t; CREATE INDEX Ostrel_events ON t(event)"), 0,
       "1"},
      {"a folder", [&] { fs::remove(path()), fs::create_directory(path()); }, 0, "0"},
      {"a page damaged", damagePage, 8, "1"},
  };
  std::string aside = path() + ".corrupt-20170601T120000Z";
  for (const auto& [what, damage, events, campaigns] : cases) {
    SCOPED_TRACE(what);
    fs::remove(path());
    for (int i = 0; i < 9; ++i) save(std::string(4000, 'x'));  // A page each.
    run("INSERT INTO lmro_inapp VALUES (7, '{}', 'c', 'open', '0', '1', 1, 0, 5)")();
    store().closeFile();
    damage();
    std::error_code isFolder;
    const auto size = fs::file_size(path(), isFolder);
    testing::writeFile(path() + "-shm", "beside it");
    host.log.clear();
    store().updateResource(LMRResource::initWithCampaignId("c", 1, 1));
    save("new");
    EXPECT_TRUE(host.log.messages().back().ends_with(" carried over: " + std::to_string(events)));
    EXPECT_EQ(count(), events + 1);
    EXPECT_EQ(queue().ids.back(), events == 0 ? 1 : 10) << "ids stay";
    EXPECT_EQ(SQLiteConnection(path()).texts("SELECT count(*) FROM lmro_inapp"), Lines{campaigns});
    EXPECT_EQ(linesOnTheFile(), 1U);
    store().closeFile();
    EXPECT_TRUE(fs::exists(aside) && fs::file_size(aside, isFolder) == size);
    EXPECT_TRUE(fs::exists(aside + "-shm"));
    EXPECT_FALSE(fs::exists(path() + "-shm"));
    aside += '+';  // The clock stands still.
  }
}

TEST_F(EventStoreFileTest, anUploadOfAnotherProcessKeepsACorruptFileWhereItIs) {
  const std::string garbage(4096, 'g');
  EXPECT_EQ(count(), 0U);
  testing::writeFile(path(), garbage);
  host.sharedFiles.tryLock(store().lockFilePath());
  save("waits");
  EXPECT_EQ(testing::readFile(path()), garbage);
  host.sharedFiles.unlock(store().lockFilePath());
  EXPECT_EQ(queue().text, record("waits"));
}

TEST_F(EventStoreFileTest, aNewerVersionsColumnsStay) {
  save("kept");
  SQLiteConnection(path()).run("ALTER TABLE ostrel_events ADD COLUMN more DEFAULT 5");
  save("kept too");
  EXPECT_EQ(SQLiteConnection(path()).texts("SELECT more FROM ostrel_events"), (Lines{"5", "5"}));
  store().closeFile();
  EXPECT_EQ(namesIn(folder()), Lines{"ostrelab.sqlite"});
}

TEST_F(EventStoreFileTest, aLogHoldsWhatIsNewUntilAnUploadEndsOrTheFileIsClosed) {
  const std::string log = path() + "-wal";
  save("one");
  EXPECT_EQ(modeOf(log) | modeOf(path() + "-shm"), 0600U);
  EXPECT_EQ(SQLiteConnection(path()).texts("SELECT event FROM ostrel_events"), Lines{record("one")});
  EXPECT_EQ(queue().text, record("one"));
  EXPECT_FALSE(fs::exists(log));

  save("two");
  for (const char* name : {"", "-wal", "-shm"}) fs::rename(path() + name, folder() + "/moved" + name);
  save("three");
  EXPECT_EQ(queue().text, record("three")) << "another file has taken its place";
  EXPECT_EQ(SQLiteConnection(folder() + "/moved").texts("SELECT event FROM ostrel_events"),
            (Lines{record("one"), record("two")}));

  fs::remove(path());
  host.sharedFiles.setSharesMemory(false);
  save("four");
  EXPECT_FALSE(fs::exists(log));
  EXPECT_EQ(queue().text, record("four"));
}

/// Another process holds the file until `releasedAfter` was waited.
class BusyEventStoreTest : public EventStoreFileTest {
 protected:
  static constexpr milliseconds never = std::chrono::hours(1);

  BusyEventStoreTest() {
    host.clock.setSleepHook([this](milliseconds pause) {
      waited += pause;
      // Whoever waits holds no lock: this would wait for good.
      if (waited.count() % 100 == 0) std::thread([] { store().lockFilePath(); }).join();
      if (waited >= releasedAfter) release();
    });
    store().storeLaterOn(*later);
  }
  ~BusyEventStoreTest() override { host.clock.setSleepHook(nullptr); }

  void hold(bool onMainThread, milliseconds until) {
    host.queues.setMainThread(onMainThread);
    waited = milliseconds(0);
    releasedAfter = until;
    if (!fs::exists(path())) static_cast<void>(count());  // Makes the tables.
    other.emplace(path());
    other->run("BEGIN EXCLUSIVE");
  }
  void release() { other.reset(); }

  std::unique_ptr<TaskQueue> later = host.queues.makeSerialQueue("later");
  std::optional<SQLiteConnection> other;
  milliseconds waited{0}, releasedAfter{0};
};

TEST_F(BusyEventStoreTest, anEventWaitsWithoutALockAndOnTheMainThreadForAQueue) {
  const std::tuple<bool, milliseconds, int, const char*> cases[] = {
      {false, milliseconds(9900), 9900, "stored"},
      {false, never, 10000, "lost"},
      {true, milliseconds(150), 150, "stored"},
      {true, never, 200, "stored"},
  };
  for (const auto& [onMainThread, until, waits, outcome] : cases) {
    SCOPED_TRACE(waits);
    store().cleanUpAppEvents();
    host.log.clear();
    hold(onMainThread, until);
    save("event");
    EXPECT_EQ(waited.count(), waits);
    release();
    host.queues.runAll();
    EXPECT_EQ(linesOnTheFile() == 0 ? "stored" : "lost", std::string(outcome));
    EXPECT_EQ(SQLiteConnection(path()).texts("SELECT count(*) FROM ostrel_events"),
              Lines{*outcome == 's' ? "1" : "0"});
  }
}

TEST_F(BusyEventStoreTest, changesKeepTheirOrderAndTheMainThreadWaitsForTheFirstAlone) {
  hold(true, never);
  for (const char* name : {"one", "two"}) save(name);
  store().cleanUpEventsWith({1});
  EXPECT_EQ(waited.count(), 200);
  release();
  save("three");
  EXPECT_EQ(queue().text, record("two") + "\n" + record("three"));
  hold(false, milliseconds(5000));
  EXPECT_EQ(count(), 2U) << "a reading waits for nobody";
  EXPECT_EQ(waited.count(), 0);
  hold(false, milliseconds(50));
  {
    const LMRDataManager::WaitLater waitLater;
    save("four");
    EXPECT_EQ(waited.count(), 0);
  }
  EXPECT_EQ(waited.count(), 50);
  EXPECT_EQ(SQLiteConnection(path()).texts("SELECT count(*) FROM ostrel_events"), Lines{"3"});
}

TEST_F(BusyEventStoreTest, aBurstLosesOnlyWhatHasHadItsOwnTime) {
  std::atomic<int> tasks = 4;
  hold(false, milliseconds(25000));
  for (const char* name : {"one", "two", "three", "four"}) {
    const LMRDataManager::Burst burst(tasks);
    save(name);
  }
  EXPECT_EQ(waited.count(), 25000);
  EXPECT_EQ(linesOnTheFile(), 2U);
  EXPECT_EQ(queue().text, record("three") + "\n" + record("four"));
}

TEST_F(BusyEventStoreTest, theDeletionOfAllIsNeverGivenUp) {
  save("old");
  hold(false, never);
  bool isDone = false;
  store().cleanUpAppEvents([&isDone] { isDone = true; });
  save("lost");
  EXPECT_EQ(waited.count(), 20000);
  EXPECT_FALSE(isDone);
  release();
  save("new");
  EXPECT_TRUE(isDone);
  EXPECT_EQ(queue().text, record("new"));
}

TEST_F(BusyEventStoreTest, theLimitCountsAnewAfterADeletionThatWaitedAlong) {
  fill(999);
  hold(true, never);
  save("the thousandth, which is crucial", "init");
  store().cleanUpAppEvents();
  save("new");
  release();
  host.queues.runAll();
  EXPECT_EQ(queue().text, record("new"));
}

}  // namespace
}  // namespace lumora::tests
