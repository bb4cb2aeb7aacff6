#pragma once

#include <nlohmann/json.hpp>

namespace lumora_bench {

/// What a host does in its life. Lumora's and the plain one implement these each in their own way.
///
/// `arguments`: "folder", the service's "address" and "authority", and the "text" of an event's record.
void start(const nlohmann::json& arguments);
/// The first exchange with the service: its configuration, and what the start has recorded.
void makeRequests();
/// Records that many events, not more than 1000, in bursts of 50, and uploads them.
void recordEvents(int count);

}  // namespace lumora_bench
