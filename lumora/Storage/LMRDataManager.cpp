// How work reaches the database: operations and changes, their order, bursts, and the wait for another
// process. What is stored is in LMRDataManagerEvents.cpp and LMRDataManagerCampaigns.cpp, what becomes of the
// file in LMRDataManagerFile.cpp, the SQL of one connection in OstrelSQLiteManager.cpp.
#include "lumora/Storage/LMRDataManager.h"

#include <algorithm>
#include <utility>

#include "lumora/Platform/FileLock.h"
#include "lumora/Storage/DatabaseTables.h"
#include "lumora/Util/CallGate.h"
#include "lumora/Util/FlagMark.h"
#include "lumora/Util/Log.h"
#include "lumora/Util/LostCall.h"

namespace lumora {
namespace {

constexpr std::chrono::seconds longestWaitForProcess{10};
// What a host called must soon be safe: these two bound what is lost when the process is killed. What one
// answer of the service brought is stored as a whole.
constexpr std::size_t mostChangesOfTasks = 64;
constexpr std::chrono::milliseconds longestBurstOfTasks{5};
constexpr std::size_t mostChangesOfScope = 4096;

/// What `WaitLater` keeps of its thread.
struct Postponement {
  int depth = 0;
  bool hasLeftChanges = false;
};
thread_local Postponement postponement;

/// What `Burst` keeps of its thread.
struct OpenBurst {
  bool isOpen = false;
  const std::atomic<int>* tasks = nullptr;

  bool isFollowed() const { return isOpen && (!tasks || *tasks > 1); }
};
thread_local OpenBurst burst;

DatabaseFault heldByOthers() {
  return {DatabaseFault::Kind::busy, "another process holds it"};
}

}  // namespace

LMRDataManager::WaitLater::WaitLater() {
  ++postponement.depth;
}

LMRDataManager::WaitLater::~WaitLater() {
  if (--postponement.depth == 0 && std::exchange(postponement.hasLeftChanges, false))
    LMRDataManager::sharedInstance().storeWaiting();
}

LMRDataManager::Burst::Burst(std::atomic<int>* tasks) noexcept : tasks_(tasks) {
  // One level only: the end of an inner burst would be that of the outer one.
  burst = {true, tasks};
}

LMRDataManager::Burst::~Burst() {
  burst = {};
  LMRDataManager& store = LMRDataManager::sharedInstance();
  const bool isLast = !tasks_ || --*tasks_ == 0;
  if (isLast || !store.mayBurstGoOn()) store.storeWaiting();
}

/// What is stored stays so, whatever becomes of its outcome.
void LMRDataManager::Change::tell(const DatabaseFault& fault) const noexcept try {
  if (whenOver) whenOver(fault);
} catch (const std::exception&) {
  tellLostCall("its outcome");
}

LMRDataManager& LMRDataManager::sharedInstance() {
  static auto* const instance = new LMRDataManager;
  return *instance;
}

LMRDataManager::LMRDataManager() : sql_("ostrelab.sqlite") {
  reportLossesAtEnd();
}

void LMRDataManager::reportLossesAtEnd() {
  Lock lock(databaseLock_);
  platform().queues.reportUnfinished(
      [this, path = sql_.getDatabasePath()](std::size_t tasks) { storeAtEnd(tasks, path); });
}

/// The last chance of what a burst has gathered: calls that come while the process ends are counted, but run
/// no more. A line tells what is left undone.
void LMRDataManager::storeAtEnd(std::size_t tasks, const std::string& path) {
  std::size_t lost = tasks;
  if (databaseLock_.tryLock()) {  // It may not come free any more.
    if (!sql_.isInTransaction()) storeUpTo(newestChange_);
    lost += waiting_.size();
    closeFile();
    databaseLock_.unlock();
  }
  if (lost == 0) return;
  if (isWaitingForProcess_) {
    // The task that waits is not done, and its change is among those that wait.
    if (tasks > 0 && lost > tasks) --lost;
    logLine("LumoraSDK-Another process holds the database {} and this one ends, changes lost: {}", path,
            lost);
  } else {
    logLine("LumoraSDK-The process ends before its last calls were carried out, changes lost: {}", lost);
  }
}

std::string LMRDataManager::lockFilePath() {
  Lock lock(databaseLock_);
  return sql_.getDatabasePath() + ".lock";
}

/// Runs an operation that its caller needs done when this returns; false when it could not be.
bool LMRDataManager::transact(Access access, const Operation& operation) {
  DatabaseFault fault;
  const bool isOver = tryUntilFree([&] {
    Lock lock(databaseLock_);
    if (CallGate::isClosed(Closed::afterErasure)) return true;
    // What waits goes first: a reading sees what was saved before it.
    if (!sql_.isInTransaction() && !storeUpTo(newestChange_)) return false;
    fault = attempt(access, operation);
    return fault.kind != DatabaseFault::Kind::busy;
  });
  if (isOver) return !fault;
  Lock lock(databaseLock_);
  report(heldByOthers());
  return false;
}

/// Runs an operation that nobody waits for, after those that wait already; `whenOver` is told how it ended.
void LMRDataManager::change(Operation operation, Outcome whenOver, Due due) {
  {
    Lock lock(databaseLock_);
    if (CallGate::isClosed(Closed::afterErasure)) return;
    if (sql_.isInTransaction()) {  // Part of the operation under way.
      operation(sql_);
      if (whenOver) whenOver({});
      return;
    }
    if (waiting_.empty()) burstBegan_ = platform().clock.now();
    waiting_.push_back({++newestChange_, std::move(operation), std::move(whenOver)});
  }
  if (due == Due::now || !burst.isFollowed() || !mayBurstGoOn()) storeWaiting();
}

/// Whether what waits is neither too much nor too old. A clock that was set back ends a burst too.
bool LMRDataManager::mayBurstGoOn() {
  Lock lock(databaseLock_);
  if (burst.isOpen && !burst.tasks) return waiting_.size() < mostChangesOfScope;
  const auto age = platform().clock.now() - burstBegan_;
  return waiting_.size() < mostChangesOfTasks && age >= age.zero() && age < longestBurstOfTasks;
}

void LMRDataManager::storeWaiting() noexcept try {
  std::uint64_t newest = 0;
  {
    Lock lock(databaseLock_);
    newest = newestChange_;
  }
  const auto attempt = [&] {
    Lock lock(databaseLock_);
    return storeUpTo(newest);
  };
  // What is behind a change that was given up has its own time, as if each had been stored alone.
  while (!tryUntilFree(attempt) && giveUp(newest)) {
  }
} catch (...) {  // Memory ran out: what waits goes on waiting.
}

/// Tries until the attempt succeeds or the thread's time is over. No lock is held between two attempts.
bool LMRDataManager::tryUntilFree(const std::function<bool()>& attempt) {
  constexpr std::chrono::milliseconds pause(5);
  if (attempt()) return true;
  if (postponement.depth > 0) return false;
  // Its changes wait on the queue already; not every further one is to cost it the full wait.
  if (isStoringLater_ && platform().queues.isMainThread()) return false;
  const auto limit = longestWait(longestWaitForProcess);
  const FlagMark waiting(isWaitingForProcess_);
  // Counted by pauses: the clock may be set meanwhile.
  for (std::chrono::milliseconds waited(0); waited < limit; waited += pause) {
    platform().clock.sleepFor(pause);
    if (attempt()) return true;
  }
  return false;
}

/// Stores the changes up to a number; false when the database is busy. What cannot be stored together is
/// stored one by one, so that one bad change takes no other along.
bool LMRDataManager::storeUpTo(std::uint64_t number) {
  Lock lock(databaseLock_);
  if (storeTogether(number).kind == DatabaseFault::Kind::busy) return false;
  while (!waiting_.empty() && waiting_.front().number <= number) {
    // Taken out first: what an operation brings about may come here again.
    Change next = std::move(waiting_.front());
    waiting_.pop_front();
    const DatabaseFault fault = attemptAlone(next.operation);
    if (fault.kind == DatabaseFault::Kind::busy) {
      waiting_.push_front(std::move(next));
      return false;
    }
    next.tell(fault);
  }
  if (waiting_.empty()) isStoringLater_ = false;
  return true;
}

/// What an operation throws when nothing else is stored with it is a fault like any other.
DatabaseFault LMRDataManager::attemptAlone(const Operation& operation) try {
  return attempt(Access::writes, operation);
} catch (const std::exception& error) {
  DatabaseFault fault{DatabaseFault::Kind::unusable, error.what()};
  report(fault);
  return fault;
}

/// Stores several changes in one transaction. Where it fails they all stay.
DatabaseFault LMRDataManager::storeTogether(std::uint64_t number) {
  const auto isWithin = [number](const Change& change) { return change.number <= number; };
  const auto count = std::ranges::find_if_not(waiting_, isWithin) - waiting_.begin();
  // A single one is stored as well by the caller.
  if (count < 2) return {};
  const auto storeAll = [this, count](OstrelSQLiteManager& sql) {
    Lock lock(databaseLock_);
    // After a fault SQLite may have undone the transaction: what follows would stand alone.
    for (auto change = waiting_.begin(); change - waiting_.begin() < count && !sql.fault(); ++change)
      change->operation(sql);
  };
  DatabaseFault fault;
  try {
    fault = attempt(Access::writes, storeAll);
  } catch (const std::exception&) {
    return {};  // Which one threw, the next attempts will show.
  }
  if (fault) return fault;
  for (auto left = count; left > 0; --left) {
    const Change stored = std::move(waiting_.front());
    waiting_.pop_front();
    stored.tell({});
  }
  return {};
}

/// Who holds a lock that others need is told at its release, a queue's thread has waited long enough for the
/// first of the changes, and the main thread leaves them to the queue. Without one they wait for the next
/// operation. True when the thread is to go on with those that are left.
bool LMRDataManager::giveUp(std::uint64_t number) {
  if (postponement.depth > 0) {
    postponement.hasLeftChanges = true;
  } else if (!platform().queues.isMainThread()) {
    return dropFirst(number);
  } else if (TaskQueue* const queue = laterQueue_) {
    isStoringLater_ = true;
    queue->async([this] {
      const CallGate::Work work;
      storeWaiting();
    });
  }
  return false;
}

/// Drops the first of the changes up to a number, since none waits without end but one that is kept; true
/// when there are others to be dropped.
bool LMRDataManager::dropFirst(std::uint64_t number) {
  Lock lock(databaseLock_);
  const auto isDropped = [number](const Change& change) { return change.number <= number && !change.isKept; };
  const auto first = std::ranges::find_if(waiting_, isDropped);
  if (first == waiting_.end()) {
    if (!waiting_.empty()) report(heldByOthers());
    return false;
  }
  const Change lost = std::move(*first);
  waiting_.erase(first);
  if (waiting_.empty()) isStoringLater_ = false;
  lost.tell(heldByOthers());
  logLine("LumoraSDK-Another process holds the database {} for too long, changes lost: 1",
          sql_.getDatabasePath());
  return std::ranges::any_of(waiting_, isDropped);
}

/// One attempt, in the transaction under way if there is one. A corrupt file is replaced on the way.
DatabaseFault LMRDataManager::attempt(Access access, const Operation& operation) {
  if (sql_.isInTransaction()) {
    operation(sql_);
    return {};
  }
  DatabaseFault fault = runTransaction(access, operation);
  if (fault.kind == DatabaseFault::Kind::corrupt ||
      (fault.kind == DatabaseFault::Kind::unusable && isFolderInItsPlace())) {
    fault = replaceCorruptFile(fault.reason);
    if (!fault) fault = runTransaction(access, operation);
  }
  if (fault && fault.kind != DatabaseFault::Kind::busy) report(fault);
  return fault;
}

DatabaseFault LMRDataManager::runTransaction(Access access, const Operation& operation) {
  if (DatabaseFault fault = provideTables()) return fault;
  // Another process may have saved or sent events since.
  storedEvents_.reset();
  droppedEvents_ = 0;
  refusedEvents_ = 0;
  OstrelSQLiteManager::Transaction transaction(sql_, access);
  if (transaction.fault()) return transaction.fault();
  operation(sql_);
  // Whoever replaced the file took the tables along: the whole is done again on the mended one.
  if (sql_.hasFailedStatement() && schemaOf(sql_) != DatabaseSchema::whole)
    return {DatabaseFault::Kind::corrupt, "its tables are not there"};
  const bool hasChanged = sql_.changedRows() > 0;
  DatabaseFault fault = transaction.commit();
  // A reading proves little: it succeeds on a full disk too.
  if (!fault && hasChanged) lastFault_.clear();
  if (!fault) tellLeftOut();
  return fault;
}

/// The events that the transaction has stored must not be stored again, whatever comes of this.
void LMRDataManager::tellLeftOut() noexcept try {
  tellLost(LumoraEventLoss::queueFull, droppedEvents_);
  if (refusedEvents_ > 0) report({DatabaseFault::Kind::unusable, "it refuses events"});
  tellLost(LumoraEventLoss::storeFailed, refusedEvents_);
} catch (const std::exception&) {
  tellLostCall("its outcome");
}

/// Tells that the file cannot be used, once for each reason: until it has been written again.
void LMRDataManager::report(const DatabaseFault& fault) {
  if (std::exchange(lastFault_, fault.reason) == fault.reason) return;
  logLine("LumoraSDK-The database {} cannot be used: {}", sql_.getDatabasePath(), fault.reason);
}

}  // namespace lumora
