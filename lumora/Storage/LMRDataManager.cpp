#include "lumora/Storage/LMRDataManager.h"

#include "lumora/Platform/Platform.h"

namespace lumora {
namespace {

constexpr const char* eventsTable =
    "CREATE TABLE IF NOT EXISTS ostrel_events (_id INTEGER PRIMARY KEY, event TEXT NOT NULL);";
constexpr const char* campaignsTable =
    "CREATE TABLE IF NOT EXISTS lmro_inapp (_id INTEGER PRIMARY KEY AUTOINCREMENT NOT NULL, inapp_msg TEXT "
    "NOT "
    "NULL, campaignId TEXT NOT NULL unique, event TEXT NOT NULL,startTime TEXT NOT NULL, endTime TEXT NOT "
    "NULL "
    ",enable integer DEFAULT 1 , paused integer DEFAULT 0, inapp_frequency integer);";

}  // namespace

LMRDataManager& LMRDataManager::sharedInstance() {
  static auto* const instance = new LMRDataManager;
  return *instance;
}

LMRDataManager::LMRDataManager() : sql_("ostrelab.sqlite") {
  Lock lock(databaseLock_);
  sql_.openDatabase();
  createTables();
  sql_.closeDatabase();
}

std::string LMRDataManager::lockFilePath() {
  Lock lock(databaseLock_);
  return sql_.getDatabasePath() + ".lock";
}

void LMRDataManager::createTables() {
  sql_.doQuery(eventsTable);
  sql_.doQuery(campaignsTable);
}

bool LMRDataManager::hasTables() {
  const auto found = sql_.getRowsForQuery(
      "SELECT COUNT(*) FROM sqlite_master WHERE type='table' AND name IN ('ostrel_events', 'lmro_inapp')");
  return !found.empty() && found.front().at("COUNT(*)").integerValue() == 2;
}

/// Opens the database for one operation. Where the tables could not be made at the start, or the file has
/// gone since (a full disk, a folder that was missing, a file replaced by hand), they are made now.
void LMRDataManager::openDatabase() {
  if (!tablesAreThere_ || !platform().files.fileExists(sql_.getDatabasePath())) {
    tablesAreThere_ = hasTables();
    if (!tablesAreThere_) {
      createTables();
      tablesAreThere_ = hasTables();
    }
  }
  sql_.openDatabase();
}

}  // namespace lumora
