#pragma once

#include <atomic>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "lumora/Platform/Mutex.h"
#include "lumora/Storage/CampaignRow.h"
#include "lumora/Storage/LMRResource.h"
#include "lumora/Storage/OstrelSQLiteManager.h"

namespace lumora {

class LMRInAppMessage;

/// The storage manager: the queue of event records that wait for upload, and the table of campaigns.
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

  using CampaignsCallback = std::function<void(const std::vector<CampaignRow>& campaigns)>;
  /// Which campaigns count as enabled: also those that the next application session enables again?
  enum class Enabled { now, inNextSession };

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

  // Campaigns.

  /// Stores a campaign; one that is stored already is replaced and may be shown again.
  void saveCampaign(const LMRInAppMessage& campaign);
  /// The campaign saved last of those that may be shown now for an event; nothing when there is none.
  std::optional<CampaignRow> getCampaign(const std::string& event);
  /// The same for every event that has one.
  std::vector<CampaignRow> getCampaigns(Enabled enabled);
  /// Changes a campaign's flags, or those of every campaign that is shown once per session.
  void updateResource(const LMRResource& resource);
  /// Deletes campaigns with their files and their entries in the handler's map. Takes the lock for each
  /// alone. A resource without an identifier deletes nothing.
  void clearCampaigns(const std::vector<std::string>& campaignIds);
  void clearCampaign(const LMRResource& resource);
  /// Deletes one expired campaign, however many there are.
  void clearExpiredCampaign();
  void cleanUpInapp();
  /// Deletes one expired campaign, and calls back once, before it returns and still holding the lock, with
  /// the campaigns that the handler's map is made of: for each trigger event the newest that may be shown
  /// now.
  void getAllValidMessages(const CampaignsCallback& callback);

  // JSON.

  /// The value with everything that JSON does not have turned into text: dates and URLs silently, keys that
  /// are no texts and objects of other kinds with a warning. The input is not changed. Null, with a line, when
  /// it is nested deeper than JSON can be.
  Value JSONSerializableObjectForObject(const Value& object) const;
  /// The coerced value as compact JSON; nothing, with a line, when it still cannot be written.
  std::optional<std::string> JSONSerializeObject(const Value& object) const;

  /// The lock file beside the database: who holds its lock (`FileLock`) keeps other processes, and other
  /// threads of this one, from uploading and from moving a corrupt database aside. Saving never waits for it.
  std::string lockFilePath();

  bool isQuerying() const noexcept { return isQuerying_; }
  RecursiveMutex& databaseLock() noexcept { return databaseLock_; }

 private:
  LMRDataManager();

  void openDatabase() LUMORA_REQUIRES(databaseLock_);
  void createTables() LUMORA_REQUIRES(databaseLock_);
  bool hasTables() LUMORA_REQUIRES(databaseLock_);
  void clearFirstCampaignOf(const char* query);

  RecursiveMutex databaseLock_;
  OstrelSQLiteManager sql_ LUMORA_GUARDED_BY(databaseLock_);
  bool tablesAreThere_ LUMORA_GUARDED_BY(databaseLock_) = false;
  std::atomic<bool> isQuerying_ = false;
};

}  // namespace lumora
