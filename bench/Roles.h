#pragma once

#include <nlohmann/json.hpp>
#include <span>
#include <string>

#include "bench/Report.h"

namespace lumora_bench {

/// What the table's rows come from. Each runs in a process of its own, with an empty folder to itself.
struct Measure {
  const char* name;
  Report (*run)(const std::string& folder);
};

/// Work that a measure wants done in yet another process.
struct Role {
  const char* name;
  nlohmann::json (*run)(const nlohmann::json& arguments);
};

// Measures/CallerLatency.cpp: what a call costs the host's thread.
Report measureCallerLatency(const std::string& folder);
// Measures/CallCost.cpp: the same through the C interface.
Report measureCallCost(const std::string& folder);
// Measures/BindingCost.cpp: the same in other languages.
Report measureBindingCost(const std::string& folder);
// Measures/EventBurst.cpp: events that follow each other closely, until they are on the disk.
Report measureEventBurst(const std::string& folder);
Report measureEventWait(const std::string& folder);
// Measures/JournalMode.cpp: what a write-ahead log would save or cost.
Report measureJournalMode(const std::string& folder);
// Measures/EventSave.cpp: storing one event, without and with the in-app step before it.
Report measureEventSave(const std::string& folder);
Report measureInAppStep(const std::string& folder);
// Measures/EventRecord.cpp: building one record and its text.
Report measureEventRecord(const std::string& folder);
// Measures/Upload.cpp: a full queue to the service, and without a network.
Report measureUpload(const std::string& folder);
Report measureUploadWithoutNetwork(const std::string& folder);
// Measures/Initialization.cpp: the first use of the library.
Report measureInitialization(const std::string& folder);
nlohmann::json initializeLibrary(const nlohmann::json& arguments);
nlohmann::json startPlainWorker(const nlohmann::json& arguments);
// Measures/HostProcess.cpp: what a host's process carries, and what it ships.
Report measureHostProcess(const std::string& folder);
Report measureLibrarySize(const std::string& folder);
// Measures/TriggerLookup.cpp: an event for which no campaign waits.
Report measureTriggerLookup(const std::string& folder);
// Measures/CampaignSync.cpp: receiving campaigns, and reading them back.
Report measureCampaignSync(const std::string& folder);
Report measureMapRefill(const std::string& folder);
// LocalService.cpp: the development service.
nlohmann::json serve(const nlohmann::json& arguments);

std::span<const Measure> allMeasures();
std::span<const Role> allRoles();

}  // namespace lumora_bench
