#pragma once

#include <filesystem>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

namespace lumora_end_to_end {

using Events = std::vector<nlohmann::json>;

/// The event records that wait in the database of the host on that folder, oldest first.
Events storedEvents(const std::filesystem::path& folder);

/// The event records that a service with its data in that folder has received, oldest first.
Events receivedEvents(const std::filesystem::path& serviceData);

/// The records of one "event_type".
Events eventsOfType(const Events& events, const std::string& type);

/// The records' names; records without one (as the client information) give their "event_type".
std::vector<std::string> namesOf(const Events& events);

}  // namespace lumora_end_to_end
