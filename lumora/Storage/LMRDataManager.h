#pragma once

#include <atomic>
#include <functional>
#include <string>
#include <string_view>

#include "lumora/Platform/Mutex.h"
#include "lumora/Storage/OstrelSQLiteManager.h"

namespace lumora {

/// The storage manager: the queue of event records that wait for upload.
///
/// An event's life: stored as one row of JSON text → sent → deleted once the service accepted it. Once 1000
/// rows wait, newly saved events are dropped again unless their kind is crucial.
///
/// Every operation runs on the caller's thread and holds `databaseLock`, which its holder may take again.
/// Nothing is reported to callers: a failed insert loses the event, a failed read gives nothing, a failed
/// delete leaves the rows to be sent again.
class LMRDataManager {
 public:
  /// Receives the events' texts, one a line, and their row ids in the same order.
  using EventsCallback = std::function<void(const std::string& events, const List& ids)>;

  static LMRDataManager& sharedInstance();

  /// Stores a record as compact JSON; one that is not JSON is dropped whole.
  void saveEventInDB(const Dictionary& event);
  /// Reads every stored event and calls back once, before it returns, still holding the lock.
  void getEventsDataWith(const EventsCallback& callback);
  /// Deletes the events that `getEventsDataWith` named.
  void cleanUpEventsWith(const List& ids);
  void cleanUpAppEvents();
  /// Drops the newest event when the queue is full and the event is not crucial.
  void checkEventsThreshold();
  /// Whether an event's text names no crucial kind; a crucial one is logged.
  bool canDeleteEvent(const std::string& event) const;

  bool isQuerying() const noexcept { return isQuerying_; }
  RecursiveMutex& databaseLock() noexcept { return databaseLock_; }

 private:
  LMRDataManager();

  void openDatabase() LUMORA_REQUIRES(databaseLock_);
  void createTables() LUMORA_REQUIRES(databaseLock_);
  bool hasTables() LUMORA_REQUIRES(databaseLock_);

  RecursiveMutex databaseLock_;
  OstrelSQLiteManager sql_ LUMORA_GUARDED_BY(databaseLock_);
  bool tablesAreThere_ LUMORA_GUARDED_BY(databaseLock_) = false;
  std::atomic<bool> isQuerying_ = false;
};

}  // namespace lumora
