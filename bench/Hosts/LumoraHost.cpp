// The host that is linked with the shared library.
#include "bench/BenchHost.h"
#include "bench/Hosts/Host.h"
#include "bench/TypicalDetails.h"
#include "lumora/Facade/Lumora.h"

namespace lumora_bench {
namespace {

const BenchHost* host = nullptr;

}  // namespace

void start(const nlohmann::json& arguments) {
  host = &BenchHost::install(arguments.at("folder"), {arguments.at("address"), arguments.at("authority")});
  lumora::Lumora::sharedInstance();
}

void makeRequests() {
  host->initializeLibrary();
}

void recordEvents(int count) {
  constexpr int eventsInBurst = 50;
  lumora::Lumora& library = lumora::Lumora::sharedInstance();
  for (int i = 0; i < count; ++i) {
    library.reportAction(kActionName, typicalDetails());
    if ((i + 1) % eventsInBurst == 0) host->settle();
  }
  library.reportAll();
  host->settle();
}

}  // namespace lumora_bench
