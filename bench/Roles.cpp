#include "bench/Roles.h"

namespace lumora_bench {

std::span<const Measure> allMeasures() {
  static constexpr Measure measures[] = {
      {"caller-latency", measureCallerLatency},
      {"event-save", measureEventSave},
      {"upload", measureUpload},
      {"upload-without-network", measureUploadWithoutNetwork},
      {"event-record", measureEventRecord},
      {"initialization", measureInitialization},
      {"memory", measureMemory},
      {"in-app-step", measureInAppStep},
      {"trigger-lookup", measureTriggerLookup},
      {"campaign-sync", measureCampaignSync},
      {"map-refill", measureMapRefill},
  };
  return measures;
}

std::span<const Role> allRoles() {
  static constexpr Role roles[] = {
      {"initialize-library", initializeLibrary},
      {"create-plain-tables", createPlainTables},
      {"use-plain-libraries", usePlainLibraries},
      {"serve", serve},
  };
  return roles;
}

}  // namespace lumora_bench
