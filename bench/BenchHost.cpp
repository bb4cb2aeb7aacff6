#include "bench/BenchHost.h"

#include <atomic>
#include <chrono>
#include <filesystem>

#include "bench/LocalService.h"
#include "lumora/Facade/Lumora.h"
#include "lumora/Util/LMRSettingsKeys.h"

namespace lumora_bench {
namespace {

/// Accepts every request at once.
class AcceptingLoader : public lumora::ForwardingURLLoader {
 public:
  using ForwardingURLLoader::ForwardingURLLoader;
  lumora::URLResponse load(const lumora::URLRequest&) override {
    lumora::URLResponse response;
    response.statusCode = 200;
    response.body = R"({"success":true})";
    return response;
  }
};

std::string preparedCachesFolder(const std::string& folder) {
  std::filesystem::create_directories(folder + "/Caches");
  return folder + "/Caches";
}

lumora::LinuxPlatformOptions optionsFor(const std::string& folder, const BenchHost::Network& network) {
  lumora::LinuxPlatformOptions options;
  options.documentsDirectory = folder + "/Documents";
  options.cachesDirectory = folder + "/Caches";
  options.settingsFile = folder + "/settings.json";
  options.keychainFile = folder + "/keychain";
  options.resourcesDirectory = folder + "/resources";
  options.info = {{std::string(lumora::kBundleIdentifierKey), "example.bench"},
                  {std::string(lumora::kBundleShortVersionKey), "1.0"},
                  {std::string(lumora::kBundleVersionKey), "1"}};
  options.connectTo = network.address;
  options.certificateAuthorityFile = network.authorityFile;
  options.logSink = [](std::string_view) {};
  return options;
}

}  // namespace

/// Leaves out the flushes when told so.
class BenchHost::Settings : public lumora::ForwardingSettingsStore {
 public:
  using ForwardingSettingsStore::ForwardingSettingsStore;
  bool synchronize() override { return !flushes || ForwardingSettingsStore::synchronize(); }

  std::atomic<bool> flushes = true;
};

std::string preparedDatabaseFile(const std::string& folder) {
  std::filesystem::create_directories(folder + "/Documents");
  return folder + "/Documents/ostrelab.sqlite";
}

BenchHost::BenchHost(const std::string& folder, const Network& network)
    : databaseFile_(preparedDatabaseFile(folder)),
      cachesFolder_(preparedCachesFolder(folder)),
      platform_(std::make_unique<lumora::LinuxPlatform>(optionsFor(folder, network))) {}

BenchHost& BenchHost::install(const std::string& folder, const Network& network) {
  auto* const host = new BenchHost(folder, network);
  lumora::installPlatform(host->platform_->platform());
  return *host;
}

BenchHost& BenchHost::installWithoutNetwork(const std::string& folder) {
  auto* const host = new BenchHost(folder, Network());
  const lumora::Platform& system = host->platform_->platform();
  host->loader_ = std::make_unique<AcceptingLoader>(system.urlLoader);
  host->settings_ = std::make_shared<Settings>(system.settings);
  lumora::installPlatform(lumora::platformWith(system, *host->settings_, *host->loader_));
  return *host;
}

void BenchHost::setFlushesSettings(bool flushes) {
  settings_->flushes = flushes;
}

void BenchHost::initializeLibrary() const {
  lumora::Lumora::sharedInstance().initializeWithTarrowID(kAccount, kSecret);
  settle();
}

void BenchHost::putUploadsOff() const {
  // The pause between two uploads counts from the last one.
  lumora::SettingsStore& settings = lumora::platform().settings;
  settings.setObject(lumora::kLmroLastReport,
                     lumora::Value(lumora::platform().clock.now() + std::chrono::hours(1)));
  settings.synchronize();
}

void BenchHost::settle() const {
  lumora::Lumora& library = lumora::Lumora::sharedInstance();
  // The serial queue hands work to the in-app queue, never the other way round.
  library.serialQueue().sync([] {});
  library.serialInAppQueue().sync([] {});
}

}  // namespace lumora_bench
