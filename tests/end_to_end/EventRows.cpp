#include "tests/end_to_end/EventRows.h"

#include <sqlite3.h>

#include <memory>
#include <stdexcept>

#include "tests/end_to_end/HostProcess.h"

namespace lumora_end_to_end {
namespace {

struct Close {
  void operator()(sqlite3* database) const { sqlite3_close(database); }
  void operator()(sqlite3_stmt* statement) const { sqlite3_finalize(statement); }
};

Events readEvents(const std::string& file, const char* query) {
  sqlite3* opened = nullptr;
  const int status = sqlite3_open_v2(file.c_str(), &opened, SQLITE_OPEN_READONLY, nullptr);
  const std::unique_ptr<sqlite3, Close> database(opened);
  if (status != SQLITE_OK) throw std::runtime_error("cannot open " + file);
  sqlite3_busy_timeout(database.get(), 10'000);

  sqlite3_stmt* prepared = nullptr;
  sqlite3_prepare_v2(database.get(), query, -1, &prepared, nullptr);
  const std::unique_ptr<sqlite3_stmt, Close> statement(prepared);
  if (!statement) throw std::runtime_error(sqlite3_errmsg(database.get()));
  Events events;
  while (sqlite3_step(statement.get()) == SQLITE_ROW) {
    events.push_back(
        nlohmann::json::parse(reinterpret_cast<const char*>(sqlite3_column_text(statement.get(), 0))));
  }
  return events;
}

}  // namespace

Events storedEvents(const std::filesystem::path& folder) {
  return readEvents(HostProcess::dataFolder(folder) / "Documents" / "ostrelab.sqlite",
                    "SELECT event FROM ostrel_events ORDER BY _id");
}

Events receivedEvents(const std::filesystem::path& serviceData) {
  return readEvents(serviceData / "service.sqlite", "SELECT event FROM events ORDER BY id");
}

Events eventsOfType(const Events& events, const std::string& type) {
  Events chosen;
  for (const nlohmann::json& event : events) {
    if (event.at("event_type") == type) chosen.push_back(event);
  }
  return chosen;
}

std::vector<std::string> namesOf(const Events& events) {
  std::vector<std::string> names;
  for (const nlohmann::json& event : events) {
    names.push_back(event.value("name", event.at("event_type").get<std::string>()));
  }
  return names;
}

}  // namespace lumora_end_to_end
