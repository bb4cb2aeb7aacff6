#include "bench/Roles.h"

namespace lumora_bench {

std::span<const Measure> allMeasures() {
  static constexpr Measure measures[] = {
      {"caller-latency", measureCallerLatency},
      {"call-cost", measureCallCost},
      {"binding-cost", measureBindingCost},
      {"event-burst", measureEventBurst},
      {"event-wait", measureEventWait},
      {"event-save", measureEventSave},
      {"journal-mode", measureJournalMode},
      {"upload", measureUpload},
      {"upload-without-network", measureUploadWithoutNetwork},
      {"event-record", measureEventRecord},
      {"initialization", measureInitialization},
      {"host-process", measureHostProcess},
      {"library-size", measureLibrarySize},
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
      {"start-plain-worker", startPlainWorker},
      {"serve", serve},
  };
  return roles;
}

}  // namespace lumora_bench
