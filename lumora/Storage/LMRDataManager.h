#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "lumora/Platform/FileLock.h"
#include "lumora/Platform/Mutex.h"
#include "lumora/Platform/TaskQueues.h"
#include "lumora/Storage/CampaignObserver.h"
#include "lumora/Storage/CampaignRow.h"
#include "lumora/Storage/EventLossObserver.h"
#include "lumora/Storage/LMRResource.h"
#include "lumora/Storage/OstrelSQLiteManager.h"

namespace lumora {

/// The storage manager: the queue of event records that wait for upload, and the table of campaigns.
///
/// An event's life: stored as one row of JSON text → sent → deleted once the service accepted it. Once 1000
/// rows wait, newly saved events are dropped again unless their kind is crucial.
///
/// Every operation runs on the caller's thread, in one transaction, and holds `databaseLock`, which its
/// holder may take again. Only the changes of a `Burst` gather in memory for some milliseconds, to share a
/// transaction: the whole costs the disk little more than one of them. The connection stays open until an
/// upload ends, which carries the log over into the file, or the library does. Nothing is reported to
/// callers: a failed insert loses the event, a failed read gives nothing, sent rows that cannot be deleted
/// are deleted by the next upload, and left out of it as long as they cannot. The log tells, once, that the
/// file cannot be used and why.
///
/// The file is its owner's alone, and so is its folder, which is made when it is missing. A corrupt or
/// foreign file, or a folder in its place, is moved aside, and what can still be read of it is carried over
/// into a new one.
///
/// While another process holds the file, an operation waits without any lock: 10 s in all, 0.2 s on the main
/// thread. Changes keep their order: each waits in memory until those before it are stored, and every
/// operation stores first what waits. What the main thread could not store waits on for the queue that
/// `storeLaterOn` named; what another thread could not store is lost, with a line (but the deletion of all
/// events), and so is what is not stored when the process ends.
class LMRDataManager {
 public:
  /// Lets its thread wait for no other process while it lives: for a caller who holds a lock that others
  /// need. What could not be stored meanwhile is waited for at the end of the outermost one, so declare it
  /// ahead of the lock:
  ///
  ///     const LMRDataManager::WaitLater later;
  ///     Lock lock(mutex_);
  class WaitLater {
   public:
    WaitLater();
    ~WaitLater();
    WaitLater(const WaitLater&) = delete;
    WaitLater& operator=(const WaitLater&) = delete;
  };

  /// Lets the events and campaigns that its thread saves while it lives share a transaction. They are stored
  /// at its end, before anything else needs the database, and at the latest once there are 4096 of them.
  class Burst {
   public:
    Burst() noexcept : Burst(nullptr) {}
    /// One that goes on over tasks which follow each other. `tasks` counts those that were handed over and
    /// have not ended, the present one included; what no task follows is stored at once. No more than 64
    /// wait, and none for longer than 5 ms.
    explicit Burst(std::atomic<int>& tasks) noexcept : Burst(&tasks) {}
    ~Burst();
    Burst(const Burst&) = delete;
    Burst& operator=(const Burst&) = delete;

   private:
    explicit Burst(std::atomic<int>* tasks) noexcept;
    std::atomic<int>* const tasks_;
  };

  /// Holds the lock file for an upload on this thread, which may then replace a corrupt database itself.
  class UploadLock {
   public:
    explicit UploadLock(std::chrono::milliseconds limit);
    ~UploadLock();
    UploadLock(const UploadLock&) = delete;
    UploadLock& operator=(const UploadLock&) = delete;
    FileLockState state() const noexcept { return lock_.state(); }

   private:
    const FileLock lock_;
  };

  /// Receives the events' texts, one a line, and their row ids in the same order. The texts are the
  /// callback's own.
  using EventsCallback = std::function<void(std::string events, const List& ids)>;

  using CampaignsCallback = std::function<void(const std::vector<CampaignRow>& campaigns)>;
  /// Which campaigns count as enabled: also those that the next application session enables again?
  enum class Enabled { now, inNextSession };

  static LMRDataManager& sharedInstance();

  /// Stores a record as compact JSON; one that is not JSON is dropped whole.
  void saveEventInDB(const Dictionary& event);
  /// Reads every stored event and calls back once, before it returns, without the lock. With a database that
  /// cannot be read there are no events. Until the callback ends an upload counts as running: what is saved
  /// meanwhile is kept whatever its number, and counts for the limit only then.
  void getEventsDataWith(const EventsCallback& callback);
  /// Deletes the events that `getEventsDataWith` named, never one that was saved since.
  void cleanUpEventsWith(const List& ids);
  /// Deletes every event that is stored by now, and calls back once that has happened: on whatever thread,
  /// holding the lock. It is never given up for another process: it waits ahead of what is saved later.
  void cleanUpAppEvents(std::function<void()> whenDone = {});
  /// The same ahead of the next operation, which is another's.
  void cleanUpAppEventsFirst(std::function<void()> whenDone);
  /// Drops the newest event when the queue is full and the event is not crucial.
  void checkEventsThreshold();
  /// How many events wait for an upload; nothing with a database that cannot be read.
  std::optional<std::size_t> waitingEvents();
  /// Whether an event's text names no crucial kind; a crucial one is logged.
  bool canDeleteEvent(const std::string& event) const;

  // Campaigns.

  /// Stores a campaign; one that is stored already is replaced and may be shown again.
  void saveCampaign(const CampaignRow& row);
  /// The campaign saved last of those that may be shown now for an event; nothing when there is none.
  std::optional<CampaignRow> getCampaign(const std::string& event);
  /// The same for every event that has one.
  std::vector<CampaignRow> getCampaigns(Enabled enabled);
  /// Changes a campaign's flags, or those of every campaign that is shown once per session.
  void updateResource(const LMRResource& resource);
  /// Deletes campaigns with their files, and tells the observer. Takes the lock for each alone. A resource
  /// without an identifier deletes nothing.
  void clearCampaigns(const std::vector<std::string>& campaignIds);
  void clearCampaign(const LMRResource& resource);
  /// Deletes one expired campaign, however many there are.
  void clearExpiredCampaign();
  void cleanUpInapp();
  /// Deletes one expired campaign, and calls back, still holding the lock, with the campaigns that may be
  /// shown now: for each event the newest. Where the database is busy this is a change that waits like every
  /// other, so the callback owns what it needs.
  void getAllValidMessages(CampaignsCallback callback);

  // JSON.

  /// The value with everything that JSON does not have turned into text: dates and URLs silently, keys that
  /// are no texts and objects of other kinds with a warning. The input is not changed. Null, with a line,
  /// when it is nested deeper than JSON can be.
  Value JSONSerializableObjectForObject(const Value& object) const;
  /// The coerced value as compact JSON; nothing, with a line, when it still cannot be written.
  std::optional<std::string> JSONSerializeObject(const Value& object) const;

  /// Names who is told of deleted campaigns; it must live as long as the process.
  void setObserver(CampaignObserver& observer) noexcept { observer_ = &observer; }
  /// Names who is told of events that are given up; it must live as long as the process.
  void setLossObserver(EventLossObserver& observer) noexcept { lossObserver_ = &observer; }
  /// Names the queue that stores what the main thread could not; it must live as long as the process.
  void storeLaterOn(TaskQueue& queue) noexcept { laterQueue_ = &queue; }
  /// Whether no event waits for upload; false too when the database cannot be read.
  bool holdsNoEvents();
  /// Removes the database with everything beside it that was made from it, and drops what is not stored yet;
  /// false when a file is left. Once an erasure has closed the gate nothing is read or stored any more.
  bool eraseFiles();
  /// Stores what was saved in a burst, or still waits for a database that was busy. Call it before anything
  /// outside the database that says it is stored.
  void storeWaiting() noexcept;
  /// Closes the database, which then is one file that holds everything; the next operation opens it again.
  void closeFile();
  /// The lock file beside the database: who holds its lock (`FileLock`) keeps other processes, and other
  /// threads of this one, from uploading and from moving a corrupt database aside. Saving never waits for it.
  std::string lockFilePath();

  bool isQuerying() const noexcept { return isQuerying_; }
  RecursiveMutex& databaseLock() noexcept { return databaseLock_; }

 private:
  LMRDataManager();

  /// The work of one transaction. It may run again from its start when the file turns out to be corrupt; a
  /// change that has to wait is kept, so it owns what it needs.
  using Operation = std::function<void(OstrelSQLiteManager& sql)>;
  using Outcome = std::function<void(const DatabaseFault& fault)>;
  struct Change {
    void tell(const DatabaseFault& fault) const noexcept;

    std::uint64_t number;
    Operation operation;
    Outcome whenOver;
    /// Whether it waits for another process as long as that takes.
    bool isKept = false;
  };
  using Access = OstrelSQLiteManager::Access;
  /// Events by their row ids, and hashes of their texts. SQLite gives the ids of deleted rows out again, so
  /// an id alone names no event.
  using EventRows = std::map<std::int64_t, std::size_t>;
  /// What an upload sends.
  struct UploadedEvents {
    std::string texts;
    List ids;
  };
  /// What could be read of a corrupt file: of each table the rows by their ids.
  using SavedRows = std::vector<std::map<std::int64_t, OstrelSQLiteManager::Row>>;

  /// When a change must be stored.
  enum class Due { now, withItsBurst };

  bool transact(Access access, const Operation& operation);
  void change(Operation operation, Outcome whenOver = {}, Due due = Due::now);
  bool mayBurstGoOn();
  bool tryUntilFree(const std::function<bool()>& attempt);
  bool storeUpTo(std::uint64_t number);
  void tellLeftOut() noexcept LUMORA_REQUIRES(databaseLock_);
  DatabaseFault attemptAlone(const Operation& operation) LUMORA_REQUIRES(databaseLock_);
  DatabaseFault storeTogether(std::uint64_t number) LUMORA_REQUIRES(databaseLock_);
  bool giveUp(std::uint64_t number);
  void reportLossesAtEnd();
  void storeAtEnd(std::size_t tasks, const std::string& path);
  bool dropFirst(std::uint64_t number);

  DatabaseFault attempt(Access access, const Operation& operation) LUMORA_REQUIRES(databaseLock_);
  DatabaseFault runTransaction(Access access, const Operation& operation) LUMORA_REQUIRES(databaseLock_);
  void report(const DatabaseFault& fault) LUMORA_REQUIRES(databaseLock_);
  DatabaseFault provideFile() LUMORA_REQUIRES(databaseLock_);
  bool isFolderInItsPlace() LUMORA_REQUIRES(databaseLock_);
  DatabaseFault provideTables() LUMORA_REQUIRES(databaseLock_);
  int carryOver(const SavedRows& saved) LUMORA_REQUIRES(databaseLock_);
  DatabaseFault replaceCorruptFile(const std::string& reason) LUMORA_REQUIRES(databaseLock_);
  std::optional<std::string> moveFilesTo(const std::string& aside) LUMORA_REQUIRES(databaseLock_);

  UploadedEvents beginUpload();
  void endUpload();
  void limitSavedDuringUpload();
  UploadedEvents readUnsent(OstrelSQLiteManager& sql);
  EventRows rowsOfUpload(const List& ids);
  void deleteSentFirst();
  void deleteSent(OstrelSQLiteManager& sql);
  void keepSent(const EventRows& rows, const DatabaseFault& fault);
  std::int64_t sentEvents() const LUMORA_REQUIRES(databaseLock_);
  void tellLost(LumoraEventLoss why, std::size_t count);
  void dropUnlessCrucial(OstrelSQLiteManager& sql, const std::string& id);
  void clearFirstCampaignOf(const char* query);

  RecursiveMutex databaseLock_;
  OstrelSQLiteManager sql_ LUMORA_GUARDED_BY(databaseLock_);
  bool tablesAreThere_ LUMORA_GUARDED_BY(databaseLock_) = false;
  /// Why the file could not be used the last time; empty while it can.
  std::string lastFault_ LUMORA_GUARDED_BY(databaseLock_);
  /// The changes that are not stored yet, in order.
  std::deque<Change> waiting_ LUMORA_GUARDED_BY(databaseLock_);
  std::uint64_t newestChange_ LUMORA_GUARDED_BY(databaseLock_) = 0;
  /// When the first of the changes that wait was made.
  Date burstBegan_ LUMORA_GUARDED_BY(databaseLock_);
  /// The number of events, once it was needed in the transaction under way.
  std::optional<std::int64_t> storedEvents_ LUMORA_GUARDED_BY(databaseLock_);
  /// The events that the transaction under way leaves out because the queue is full.
  std::size_t droppedEvents_ LUMORA_GUARDED_BY(databaseLock_) = 0;
  /// The events of the transaction under way that the table does not take, as by a trigger of another
  /// program.
  std::size_t refusedEvents_ LUMORA_GUARDED_BY(databaseLock_) = 0;
  std::atomic<CampaignObserver*> observer_ = nullptr;
  std::atomic<EventLossObserver*> lossObserver_ = nullptr;
  std::atomic<TaskQueue*> laterQueue_ = nullptr;
  /// Whether the main thread has left changes to the queue: nothing more waits on it until they are stored.
  std::atomic<bool> isStoringLater_ = false;
  /// Whether a thread waits at this moment for another process.
  std::atomic<bool> isWaitingForProcess_ = false;
  int runningUploads_ LUMORA_GUARDED_BY(databaseLock_) = 0;
  /// The rows that were saved while an upload ran; SQLite gives ids of deleted rows out again.
  std::set<std::int64_t> savedDuringUpload_ LUMORA_GUARDED_BY(databaseLock_);
  /// The rows that the uploads under way have read.
  EventRows uploading_ LUMORA_GUARDED_BY(databaseLock_);
  /// The rows that the service has, but that could not be deleted, and what was told of them last.
  EventRows sent_ LUMORA_GUARDED_BY(databaseLock_);
  std::string lastLineOnSent_ LUMORA_GUARDED_BY(databaseLock_);
  std::atomic<bool> isQuerying_ = false;
};

}  // namespace lumora
