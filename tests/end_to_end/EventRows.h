#pragma once

#include <filesystem>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "tests/Storage/SQLiteConnection.h"

namespace lumora_end_to_end {

using Events = std::vector<nlohmann::json>;

/// The event records in the first column that a query of the database file gives.
inline Events readEvents(const std::filesystem::path& file, const std::string& query) {
  lumora::tests::SQLiteConnection database(file);
  database.run("PRAGMA busy_timeout = 10000");
  Events events;
  for (const std::string& text : database.texts(query)) events.push_back(nlohmann::json::parse(text));
  return events;
}

/// The records' names; records without one (as the client information) give their "event_type".
inline std::vector<std::string> namesOf(const Events& events) {
  std::vector<std::string> names;
  for (const nlohmann::json& event : events) names.push_back(event.value("name", event.at("event_type")));
  return names;
}

}  // namespace lumora_end_to_end
