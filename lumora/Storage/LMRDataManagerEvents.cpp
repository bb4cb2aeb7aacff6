// The queue of event records: saving within the limit, reading for an upload, deleting what was sent. Freed
// row ids are given out again, which is why ids alone decide nothing here. When and how they are sent is
// LMREventLoggerUpload.cpp's to say.
#include <fmt/format.h>

#include <algorithm>
#include <utility>

#include "lumora/Platform/JSON.h"
#include "lumora/Storage/LMRDataManager.h"
#include "lumora/Util/CallGate.h"
#include "lumora/Util/EventKeys.h"
#include "lumora/Util/FlagMark.h"
#include "lumora/Util/Log.h"
#include "lumora/Util/LumoraConstants.h"

namespace lumora {
namespace {

std::string joinedIds(const List& ids) {
  std::string joined;
  for (const Value& id : ids) {
    if (!joined.empty()) joined += ',';
    joined += std::to_string(id.integerValue());
  }
  return joined;
}

void deleteEvents(OstrelSQLiteManager& sql, const List& ids) {
  sql.doQuery("DELETE FROM ostrel_events WHERE _id IN (" + joinedIds(ids) + ");");
}

struct StoredEvent {
  std::int64_t id;
  std::string text;
  std::size_t hash = std::hash<std::string>()(text);
};

bool holds(const auto& rows, const StoredEvent& event) {
  const auto row = rows.find(event.id);
  return row != rows.end() && row->second == event.hash;
}

/// Calls for every row, one after the other: all of them at once would be the most memory that is ever used.
void forEachEvent(OstrelSQLiteManager& sql, const std::function<void(const StoredEvent& event)>& take) {
  sql.forEachRow("SELECT * from ostrel_events", [&take](const OstrelSQLiteManager::Row& row) {
    const Value* text = findValue(row, "event");
    const Value* id = findValue(row, "_id");
    if (text && id) take({.id = id->integerValue(), .text = text->description()});
  });
}

std::int64_t countEvents(OstrelSQLiteManager& sql, const std::string& condition) {
  const auto counted = sql.getRowsForQuery("SELECT COUNT(*) FROM ostrel_events" + condition);
  return counted.empty() ? 0 : counted.front().at("COUNT(*)").integerValue();
}

}  // namespace

void LMRDataManager::saveEventInDB(const Dictionary& event) {
  const auto text = writeJSON(event);
  if (!text) return tellLost(LumoraEventLoss::notJSON, 1);
  const auto save = [this, values = List{Value(*text)}](OstrelSQLiteManager& sql) {
    const int before = sql.changedRows();
    sql.doQuery("INSERT INTO ostrel_events (event) VALUES (?);", values);
    Lock lock(databaseLock_);
    if (sql.changedRows() == before) {  // What was not stored must not push another event out.
      if (!sql.fault()) ++refusedEvents_;
      return;
    }
    if (storedEvents_) ++*storedEvents_;
    // The id is a new event's from now on.
    sent_.erase(sql.getLastInsertRowID());
    if (runningUploads_ > 0) {
      // The upload is about to make room, so whether there is any is asked at its end.
      savedDuringUpload_.insert(sql.getLastInsertRowID());
    } else {
      checkEventsThreshold();
    }
  };
  const auto whenOver = [this](const DatabaseFault& fault) {
    if (fault) tellLost(LumoraEventLoss::storeFailed, 1);
  };
  change(save, whenOver, Due::withItsBurst);
}

void LMRDataManager::tellLost(LumoraEventLoss why, std::size_t count) {
  if (count == 0) return;
  // A store that failed has its line already; a full queue is the observer's to tell.
  if (why == LumoraEventLoss::notJSON)
    logLine("LumoraSDK-An event is lost: it holds what JSON does not have.");
  EventLossObserver* const observer = lossObserver_;
  if (observer) observer->eventsLost(why, count);
}

void LMRDataManager::getEventsDataWith(const EventsCallback& callback) {
  UploadedEvents events = beginUpload();
  struct Upload {
    LMRDataManager& store;
    ~Upload() { store.endUpload(); }
  } const upload{*this};
  // Without the lock: an upload takes as long as the network wants.
  callback(std::move(events.texts), events.ids);
}

/// Reads the rows that are to be sent. Whatever is saved from that moment on is saved during the upload.
LMRDataManager::UploadedEvents LMRDataManager::beginUpload() {
  UploadedEvents events;
  bool hasBegun = false;
  const auto begin = [this, &hasBegun] {
    Lock lock(databaseLock_);
    // Once: on a corrupt file the reading runs twice.
    if (!std::exchange(hasBegun, true)) ++runningUploads_;
    if (runningUploads_ == 1) savedDuringUpload_.clear();
  };
  deleteSentFirst();
  const bool isRead = transact(Access::reads, [&](OstrelSQLiteManager& sql) {
    events = readUnsent(sql);
    begin();  // Under the lock still.
  });
  if (!isRead) events = {};
  // Its end is counted either way.
  if (!hasBegun) begin();
  return events;
}

/// Every row, save those that the service has already.
LMRDataManager::UploadedEvents LMRDataManager::readUnsent(OstrelSQLiteManager& sql) {
  Lock lock(databaseLock_);
  UploadedEvents events;
  EventRows rows;
  forEachEvent(sql, [&, sent = sent_](const StoredEvent& event) {
    if (holds(sent, event)) return;
    if (!events.ids.empty()) events.texts += '\n';
    events.texts += event.text;
    events.ids.emplace_back(static_cast<long long>(event.id));
    rows.emplace(event.id, event.hash);
  });
  for (const auto& [id, hash] : rows) uploading_.insert_or_assign(id, hash);
  return events;
}

void LMRDataManager::endUpload() {
  {
    Lock lock(databaseLock_);
    if (--runningUploads_ > 0) return;
    uploading_.clear();
  }
  limitSavedDuringUpload();
  Lock lock(databaseLock_);
  // What was sent and deleted is to be in the log no longer.
  if (sent_.empty()) closeFile();
}

/// The rows that were saved during an upload count for the limit one after the other, as if each had waited
/// for the upload's end.
void LMRDataManager::limitSavedDuringUpload() {
  {
    Lock lock(databaseLock_);
    if (savedDuringUpload_.empty()) return;
  }
  change([this](OstrelSQLiteManager& sql) {
    Lock lock(databaseLock_);
    if (runningUploads_ > 0) return;
    const auto saved = std::exchange(savedDuringUpload_, {});
    if (countEvents(sql, "") < MAX_CHECKPOINTS_COUNT) return;
    for (const std::int64_t id : saved) {
      const std::string row = std::to_string(id);
      if (countEvents(sql, " WHERE _id <= " + row) - sentEvents() >= MAX_CHECKPOINTS_COUNT)
        dropUnlessCrucial(sql, row);
    }
  });
}

void LMRDataManager::cleanUpEventsWith(const List& ids) {
  change(
      [this, ids](OstrelSQLiteManager& sql) {
        // An id that was saved under since the rows were read names another event by now: all rows were
        // deleted in between, and the count began anew.
        Lock lock(databaseLock_);
        const std::set<std::int64_t> saved = savedDuringUpload_;
        List sent = ids;
        std::erase_if(sent, [&saved](const Value& id) { return saved.contains(id.integerValue()); });
        deleteEvents(sql, sent);
        storedEvents_.reset();
      },
      [this, rows = rowsOfUpload(ids)](const DatabaseFault& fault) {
        if (fault) keepSent(rows, fault);
      });
}

LMRDataManager::EventRows LMRDataManager::rowsOfUpload(const List& ids) {
  Lock lock(databaseLock_);
  EventRows rows;
  for (const Value& id : ids) {
    const auto row = uploading_.find(id.integerValue());
    if (row != uploading_.end()) rows.insert(*row);
  }
  return rows;
}

/// Remembers rows that the service has, but that could not be deleted; tells how many there are, and why,
/// when that has changed.
void LMRDataManager::keepSent(const EventRows& rows, const DatabaseFault& fault) {
  Lock lock(databaseLock_);
  for (const auto& [id, hash] : rows) {
    if (!savedDuringUpload_.contains(id)) sent_.insert_or_assign(id, hash);
  }
  if (sent_.empty()) return;
  const std::string line =
      fmt::format("LumoraSDK-Sent events that cannot be deleted: {} ({})", sent_.size(), fault.reason);
  if (std::exchange(lastLineOnSent_, line) != line) logLine("{}", line);
}

/// Has the sent rows deleted, those that still are what was sent, ahead of the next operation.
void LMRDataManager::deleteSentFirst() {
  Lock lock(databaseLock_);
  if (sent_.empty()) return;
  const auto whenOver = [this](const DatabaseFault& fault) {
    Lock inside(databaseLock_);
    if (fault) return keepSent({}, fault);
    sent_.clear();
    lastLineOnSent_.clear();
  };
  // Only put in line: the reading that follows has it stored before itself.
  waiting_.push_back({++newestChange_, [this](OstrelSQLiteManager& sql) { deleteSent(sql); }, whenOver});
}

void LMRDataManager::deleteSent(OstrelSQLiteManager& sql) {
  Lock lock(databaseLock_);
  List ids;
  forEachEvent(sql, [&ids, sent = sent_](const StoredEvent& event) {
    if (holds(sent, event)) ids.emplace_back(static_cast<long long>(event.id));
  });
  if (!ids.empty()) deleteEvents(sql, ids);
  storedEvents_.reset();
}

bool LMRDataManager::holdsNoEvents() {
  bool isEmpty = false;
  const bool isRead = transact(Access::reads, [this, &isEmpty](OstrelSQLiteManager& sql) {
    Lock lock(databaseLock_);
    isEmpty = countEvents(sql, "") <= sentEvents();
  });
  return isRead && isEmpty;
}

void LMRDataManager::cleanUpAppEvents(std::function<void()> whenDone) {
  cleanUpAppEventsFirst(std::move(whenDone));
  storeWaiting();
}

void LMRDataManager::cleanUpAppEventsFirst(std::function<void()> whenDone) {
  const auto deleteAll = [this](OstrelSQLiteManager& sql) {
    // Without this the texts would stay in the file's free pages.
    sql.getRowsForQuery("PRAGMA secure_delete = ON");
    sql.doQuery("delete from ostrel_events");
    Lock lock(databaseLock_);
    storedEvents_.reset();
  };
  const auto whenOver = [whenDone = std::move(whenDone)](const DatabaseFault& fault) {
    if (!fault && whenDone) whenDone();
  };
  Lock lock(databaseLock_);
  if (CallGate::isClosed(Closed::afterErasure)) return;
  waiting_.push_back({++newestChange_, deleteAll, whenOver, true});
}

void LMRDataManager::checkEventsThreshold() {
  if (isQuerying_) return;
  change([this](OstrelSQLiteManager& sql) {
    const FlagMark querying(isQuerying_);
    Lock lock(databaseLock_);
    if (!storedEvents_) storedEvents_ = countEvents(sql, "");
    if (*storedEvents_ - sentEvents() >= MAX_CHECKPOINTS_COUNT)
      dropUnlessCrucial(sql, "(select MAX(_id) from ostrel_events)");
  });
}

/// How many of the stored events wait no more.
std::int64_t LMRDataManager::sentEvents() const {
  return static_cast<std::int64_t>(sent_.size());
}

void LMRDataManager::dropUnlessCrucial(OstrelSQLiteManager& sql, const std::string& id) {
  const auto row = sql.getRowsForQuery("select event from ostrel_events where _id = " + id);
  if (!canDeleteEvent(firstText(row, "event").value_or(""))) return;
  sql.doQuery("delete from ostrel_events where _id = " + id);
  Lock lock(databaseLock_);
  storedEvents_.reset();
  ++droppedEvents_;
}

std::optional<std::size_t> LMRDataManager::waitingEvents() {
  std::int64_t waiting = 0;
  const bool isRead = transact(Access::reads, [&](OstrelSQLiteManager& sql) {
    Lock lock(databaseLock_);
    waiting = countEvents(sql, "") - sentEvents();
  });
  if (!isRead) return std::nullopt;
  return static_cast<std::size_t>(std::max<std::int64_t>(waiting, 0));
}

bool LMRDataManager::canDeleteEvent(const std::string& event) const {
  const auto record = parseJSON(event);
  const Dictionary* fields = record ? record->asDictionary() : nullptr;
  const Value* type = fields ? findValue(*fields, KEY_EVENT_TYPE) : nullptr;
  const std::string* text = type ? type->asString() : nullptr;
  if (!text || (*text != KEY_EVENT_PUSH && *text != KEY_EVENT_INIT && *text != KEY_EVENT_USER)) return true;
  logLine("LumoraSDK-Event delete opration prevented, Can not delete crucial events .");
  return false;
}

}  // namespace lumora
