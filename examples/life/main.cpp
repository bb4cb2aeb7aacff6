// A host that runs for long: it asks before it tracks, watches what goes on inside, stays in touch with the
// service, and ends when it is told to. docs/host-life.md and docs/privacy.md tell of its parts.

#include <poll.h>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <iostream>
#include <string>

#include "lumora/Facade/Lumora.h"
#include "lumora/Facade/LumoraKeeper.h"
#include "lumora/Facade/LumoraObserver.h"
#include "lumora/Facade/LumoraStatus.h"
#include "lumora/Platform/Linux/LinuxPlatform.h"
#include "lumora/Platform/Linux/LinuxTaskQueues.h"

namespace {

using namespace std::chrono_literals;

volatile std::sig_atomic_t isTerminating = 0;

class Watcher : public lumora::LumoraObserver {
 public:
  void initialized() override { std::cout << "initialised\n"; }
  void initializationFailed(const lumora::LumoraError& error) override {
    if (error.reason == lumora::LumoraError::Reason::network) std::cout << "offline\n";
  }
  void campaignDropped(const DroppedCampaign& campaign) override {
    std::cout << "campaign " << campaign.id << " has a bad " << campaign.part << '\n';
  }
};

lumora::LinuxPlatform& host() {
  static auto* const made = [] {
    lumora::LinuxPlatformOptions options;
    options.info = {{"CFBundleIdentifier", "com.example.shop"}, {"CFBundleShortVersionString", "1.0"}};
    options.logSink = lumora::LogDestination::journal;
    return new lumora::LinuxPlatform(options);
  }();
  return *made;
}

void start(bool mayTrack) {
  lumora::installPlatform(host().platform());
  auto& sdk = lumora::Lumora::sharedInstance();
  sdk.setObserver(std::make_shared<Watcher>());
  sdk.setTrackingConsent(mayTrack ? lumora::Consent::granted : lumora::Consent::denied);
  sdk.initializeWithTarrowID("acme", "s3cret");
}

/// Until somebody asks for the end. A signal interrupts the wait.
void run() {
  pollfd work{host().mainQueue().descriptor(), POLLIN, 0};
  while (isTerminating == 0) {
    if (poll(&work, 1, 1000) < 0 && errno != EINTR) break;
    host().mainQueue().runPending();
  }
}

void showDiagnostics() {
  const lumora::LumoraStatus status = lumora::Lumora::sharedInstance().status();
  std::cout << (status.isInitialized ? "initialised" : "not initialised");
  if (status.waitingEvents) std::cout << ", " << *status.waitingEvents << " events wait";
  if (status.lastError) std::cout << ", last error: " << status.lastError->error.message;
  std::cout << '\n';
}

/// The person logs out: what they did is to be at the service before the next one comes.
bool logOut() {
  lumora::Lumora::sharedInstance().reportAction("logged_out");
  return lumora::Lumora::sharedInstance().flush(5s);
}

void withdrawConsent() {
  lumora::Lumora::sharedInstance().setTrackingConsent(lumora::Consent::denied,
                                                      lumora::WaitingEvents::areErased);
}

void forgetEverything() {
  lumora::Lumora::sharedInstance().eraseAllData();
}

}  // namespace

int main(int argc, char** argv) {
  std::signal(SIGTERM, [](int) { isTerminating = 1; });
  std::signal(SIGINT, [](int) { isTerminating = 1; });
  const std::string order = argc > 1 ? argv[1] : "";
  start(order != "--no-tracking");
  const lumora::LumoraKeeper keeper;
  run();
  showDiagnostics();
  if (order == "--log-out" && !logOut()) std::cout << "it goes out with the next run\n";
  if (order == "--withdraw") withdrawConsent();
  if (order == "--forget") forgetEverything();
  return 0;
}
