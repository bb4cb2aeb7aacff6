// The table of campaigns: saving, flags, deletion, and the choice of those that may be shown now.
// LMRInAppMessage makes the rows and is made from them, LMRIOManager keeps the pictures, and the in-app
// handler hears what was deleted.
#include <fmt/format.h>

#include <utility>

#include "lumora/Platform/JSON.h"
#include "lumora/Storage/LMRDataManager.h"
#include "lumora/Storage/LMRIOManager.h"
#include "lumora/Util/LMRUtil.h"
#include "lumora/Util/Log.h"

namespace lumora {
namespace {

/// The part of a condition that lets a campaign be shown at this moment.
constexpr const char* isRunning =
    "paused = 0 AND datetime(startTime/1000,'unixepoch') < datetime('now') AND "
    "datetime(endTime/1000,'unixepoch') > datetime('now')";

/// Nothing when the row's text is no JSON object.
std::optional<CampaignRow> campaignOf(const OstrelSQLiteManager::Row& row) {
  const auto text = [&row](const char* column) {
    const Value* value = findValue(row, column);
    return value ? value->description() : std::string();
  };
  const auto campaign = parseJSON(text("inapp_msg"));
  if (!campaign || !campaign->asDictionary()) return std::nullopt;
  const Value* frequency = findValue(row, "inapp_frequency");
  return CampaignRow{.campaignId = text("campaignId"),
                     .event = text("event"),
                     .campaign = *campaign->asDictionary(),
                     .startTime = text("startTime"),
                     .endTime = text("endTime"),
                     .frequency = frequency ? static_cast<std::int32_t>(frequency->integerValue()) : 0};
}

/// The statement that makes a change of flags; nothing when there is nothing to change.
std::optional<std::string> statementFor(const LMRResource& resource) {
  const bool changesEnable = resource.enable != LMRResource::unchanged;
  const bool changesPaused = resource.paused != LMRResource::unchanged;
  if (!resource.campaignId) {
    if (!changesEnable) return std::nullopt;
    // Once per session, with and without a call to action: the two that a new session brings back.
    return fmt::format("Update lmro_inapp set enable={} where inapp_frequency = {} OR inapp_frequency = {};",
                       resource.enable, 4, 2);
  }
  const std::string id = quotedForSQL(*resource.campaignId);
  if (changesEnable && changesPaused) {
    return fmt::format("Update lmro_inapp set enable={} , paused={} where campaignId = '{}';",
                       resource.enable, resource.paused, id);
  }
  if (changesEnable) {
    return fmt::format("Update lmro_inapp set enable={} where campaignId = '{}';", resource.enable, id);
  }
  if (changesPaused) {
    return fmt::format("Update lmro_inapp set paused={} where campaignId = '{}';", resource.paused, id);
  }
  return std::nullopt;
}

}  // namespace

std::optional<std::string> campaignText(const Dictionary* campaign) {
  auto text = campaign ? writeJSON(*campaign, JSONStyle::pretty) : std::nullopt;
  if (!text) {
    logLine("LumoraSDK-Failed to create json strin in InAppNotification");
    return std::nullopt;
  }
  return LMRUtil::sharedInstance().formatString(std::move(*text));
}

void LMRDataManager::saveCampaign(const CampaignRow& row) {
  // Replacing gives a new row id and the flags' defaults: of an event's campaigns the one saved last is
  // shown, and it may be shown again. A paused one is marked again as soon as a refill reads it
  // (LMRInAppMessage::updateStateIfNeeded). The campaign's text is escaped already.
  const std::string statement = fmt::format(
      "INSERT OR REPLACE INTO lmro_inapp "
      "(inapp_msg,campaignId,event,startTime,endTime,inapp_frequency) VALUES "
      "('{}','{}','{}','{}','{}','{}');",
      campaignText(&row.campaign).value_or(""), quotedForSQL(row.campaignId), quotedForSQL(row.event),
      row.startTime, row.endTime, row.frequency);
  const auto error = std::make_shared<std::optional<SQLiteError>>();
  change([statement, error](OstrelSQLiteManager& sql) { *error = sql.doQuery(statement); },
         [id = row.campaignId, error](const DatabaseFault& fault) {
           constexpr const char* operation = "-[LMRDataManager saveCampaign:]";
           if (fault || *error) {
             logTrace({operation, 270}, "Failed to save CampaignId : {} due to {}", id,
                      fault ? fault.reason : (*error)->description);
           } else {
             logTrace({operation, 272}, "Saved CampaignId : {} successfully", id);
           }
         },
         Due::withItsBurst);
}

/// "Now" is SQLite's own clock, in whole seconds, not the platform's.
std::optional<CampaignRow> LMRDataManager::getCampaign(const std::string& event) {
  std::vector<OstrelSQLiteManager::Row> rows;
  transact(Access::reads, [&](OstrelSQLiteManager& sql) {
    rows = sql.getRowsForQuery(fmt::format(
        "select * from lmro_inapp where event = '{}' AND enable = 1 AND {} ORDER BY _id DESC LIMIT 1",
        quotedForSQL(event), isRunning));
  });
  return rows.empty() ? std::nullopt : campaignOf(rows.front());
}

std::vector<CampaignRow> LMRDataManager::getCampaigns(Enabled enabled) {
  std::vector<OstrelSQLiteManager::Row> rows;
  transact(Access::reads, [&](OstrelSQLiteManager& sql) {
    rows = sql.getRowsForQuery(fmt::format(
        "select * from lmro_inapp where _id in (select MAX(_id) from lmro_inapp where (enable = 1{}) AND {} "
        "group by event)",
        enabled == Enabled::inNextSession ? " OR inapp_frequency in (2, 4)" : "", isRunning));
  });
  std::vector<CampaignRow> campaigns;
  for (const auto& row : rows) {
    if (auto campaign = campaignOf(row)) campaigns.push_back(std::move(*campaign));
  }
  return campaigns;
}

void LMRDataManager::updateResource(const LMRResource& resource) {
  if (const auto statement = statementFor(resource))
    change([statement = *statement](OstrelSQLiteManager& sql) { sql.doQuery(statement); }, {},
           Due::withItsBurst);
}

void LMRDataManager::clearCampaigns(const std::vector<std::string>& campaignIds) {
  for (const std::string& campaignId : campaignIds) {
    LMRResource resource;
    resource.campaignId = campaignId;
    clearCampaign(resource);
  }
}

void LMRDataManager::clearCampaign(const LMRResource& resource) {
  if (!resource.campaignId) return;
  change([statement = fmt::format("delete from lmro_inapp where campaignId='{}'",
                                  quotedForSQL(*resource.campaignId))](OstrelSQLiteManager& sql) {
    sql.doQuery(statement);
  });
  // At once, also where the row has to wait for a database that is busy.
  LMRIOManager::sharedInstance().clearFile(resource);
  Lock lock(databaseLock_);  // Lists of campaigns are published under it alone.
  if (CampaignObserver* const observer = observer_) observer->campaignDeleted(*resource.campaignId);
}

void LMRDataManager::clearExpiredCampaign() {
  clearFirstCampaignOf(
      "select campaignId from lmro_inapp where datetime(endTime/1000,'unixepoch') < datetime('now')");
}

void LMRDataManager::cleanUpInapp() {
  clearFirstCampaignOf(
      "select * from lmro_inapp where datetime(endTime /1000,'unixepoch') < datetime('now')");
}

/// One at a time: those that are left are shown by no query, and go with later calls.
void LMRDataManager::clearFirstCampaignOf(const char* query) {
  change([this, query](OstrelSQLiteManager& sql) {
    LMRResource resource;
    resource.campaignId = firstText(sql.getRowsForQuery(query), "campaignId");
    if (resource.campaignId) clearCampaign(resource);
  });
}

void LMRDataManager::getAllValidMessages(CampaignsCallback callback) {
  change([this, callback = std::move(callback)](OstrelSQLiteManager& sql) {
    clearExpiredCampaign();
    std::vector<CampaignRow> campaigns;
    for (const auto& row : sql.getRowsForQuery("select DISTINCT event from lmro_inapp")) {
      const Value* event = findValue(row, "event");
      auto campaign = event ? getCampaign(event->description()) : std::nullopt;
      if (campaign) campaigns.push_back(std::move(*campaign));
    }
    callback(campaigns);
  });
}

}  // namespace lumora
