#include <fmt/format.h>

#include "lumora/Events/EventKeys.h"
#include "lumora/Facade/LumoraConstants.h"
#include "lumora/Platform/JSON.h"
#include "lumora/Storage/LMRDataManager.h"
#include "lumora/Util/Log.h"

namespace lumora {
namespace {

/// The text of a column in the first row; empty when there is no such row.
std::string firstText(const std::vector<OstrelSQLiteManager::Row>& rows, std::string_view column) {
  const Value* value = rows.empty() ? nullptr : findValue(rows.front(), column);
  return value ? value->description() : std::string();
}

std::string joinedIds(const List& ids) {
  std::string joined;
  for (const Value& id : ids) {
    if (!joined.empty()) joined += ',';
    joined += std::to_string(id.integerValue());
  }
  return joined;
}

}  // namespace

void LMRDataManager::saveEventInDB(const Dictionary& event) {
  const auto text = writeJSON(event);
  if (!text) return;
  change([this, statement = "INSERT INTO ostrel_events (event) VALUES ('" + quotedForSQL(*text) +
                            "');"](OstrelSQLiteManager& sql) {
    sql.doQuery(statement);
    checkEventsThreshold();
  });
}

void LMRDataManager::getEventsDataWith(const EventsCallback& callback) {
  Lock lock(databaseLock_);
  std::vector<OstrelSQLiteManager::Row> rows;
  const bool isRead = transact(Access::reads, [&rows](OstrelSQLiteManager& sql) {
    rows = sql.getRowsForQuery("SELECT * from ostrel_events");
  });
  if (!isRead) rows.clear();
  std::string events;
  List ids;
  for (const auto& row : rows) {
    const Value* text = findValue(row, "event");
    const Value* id = findValue(row, "_id");
    if (!text || !id) continue;
    if (!ids.empty()) events += '\n';
    events += text->description();
    ids.push_back(*id);
  }
  callback(events, ids);
}

void LMRDataManager::cleanUpEventsWith(const List& ids) {
  change([statement = "DELETE FROM ostrel_events WHERE _id IN (" + joinedIds(ids) +
                      ");"](OstrelSQLiteManager& sql) { sql.doQuery(statement); });
}

void LMRDataManager::cleanUpAppEvents() {
  change([](OstrelSQLiteManager& sql) { sql.doQuery("delete from ostrel_events"); });
}

void LMRDataManager::checkEventsThreshold() {
  if (isQuerying_) return;
  change([this](OstrelSQLiteManager& sql) {
    isQuerying_ = true;
    const auto counted = sql.getRowsForQuery("SELECT COUNT(*) FROM ostrel_events");
    const std::int64_t count = counted.empty() ? 0 : counted.front().at("COUNT(*)").integerValue();
    if (count >= MAX_CHECKPOINTS_COUNT) {
      const auto newest = sql.getRowsForQuery(
          "select event from ostrel_events where _id = (select MAX(_id) from ostrel_events)");
      if (canDeleteEvent(firstText(newest, "event"))) {
        sql.doQuery("delete from ostrel_events where _id = (select MAX(_id) from ostrel_events)");
      }
    }
    isQuerying_ = false;
  });
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
