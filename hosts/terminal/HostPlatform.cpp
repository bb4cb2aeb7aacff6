// The Linux platform with this host's options, and the services that the host brings itself: clock, network,
// display.
#include "hosts/terminal/HostPlatform.h"

#include <filesystem>
#include <utility>

#include "hosts/terminal/Folders.h"

namespace lumora_host {
namespace {

/// The person who starts the host means the folder that he is in; the library does not.
std::string fromHere(const std::string& path) {
  std::error_code error;
  return std::filesystem::absolute(path, error).string();
}

void describeHost(const Options& options, lumora::LinuxPlatformOptions& platform) {
  platform.info.emplace(lumora::kBundleIdentifierKey, options.bundleIdentifier);
  platform.info.emplace(lumora::kBundleShortVersionKey, options.appVersion);
  platform.info.emplace(lumora::kBundleVersionKey, options.build);
  platform.model = options.model;
  platform.systemVersion = options.systemVersion;
  platform.deviceName = options.deviceName;
  platform.localeIdentifier = options.localeIdentifier;
  platform.preferredLanguages = options.languages;
  platform.carrierName = options.carrierName;
  platform.machineIdentifier = options.machineIdentifier;
  platform.initialState = options.state;
}

void connectDisplay(Display& display, Screens& screens, lumora::LinuxPlatformOptions& platform) {
  platform.alertPresenter = [&display](lumora::Alert alert) { display.show(std::move(alert)); };
  platform.layoutLoader = [&screens](const std::string&) { return screens.layout(); };
  platform.rootViewController = [&screens] { return screens.root(); };
  platform.urlOpener = [&display](const lumora::URL& url) { return display.open(url); };
  platform.notificationScheduler = [&display](
                                       const lumora::NotificationRequest& request,
                                       const std::function<void(std::optional<std::string>)>& completion) {
    display.schedule(request);
    completion(std::nullopt);
  };
  platform.localNotificationScheduler = [&display](const lumora::LocalNotification& notification) {
    display.schedule(notification);
  };
}

lumora::LinuxPlatformOptions platformOptions(const Options& options, Display& display, Screens& screens) {
  const DataFolders folders = makeDataFolders(options.dataDirectory);
  lumora::LinuxPlatformOptions platform;
  platform.documentsDirectory = folders.documents;
  platform.cachesDirectory = folders.caches;
  platform.settingsFile = folders.settingsFile;
  platform.keychainFile = fromHere(options.keychainFile.value_or(defaultKeychainFile()));
  platform.resourcesDirectory = fromHere(options.resourcesDirectory.value_or(defaultResourcesDirectory()));
  if (options.certificateAuthorityFile) {
    platform.certificateAuthorityFile = fromHere(*options.certificateAuthorityFile);
  }
  platform.connectTo = options.connectTo;
  // This host's output for people and tests: every line, and nothing else.
  platform.logSink = lumora::LogDestination::bareStandardError;
  platform.logDetail = lumora::LogDetail::trace;
  describeHost(options, platform);
  connectDisplay(display, screens, platform);
  return platform;
}

}  // namespace

HostPlatform::HostPlatform(const Options& options, Output& output)
    : display_(output),
      screens_(output),
      linux_(platformOptions(options, display_, screens_)),
      clock_(linux_.platform().clock),
      network_(linux_.platform().urlLoader) {}

void HostPlatform::install() {
  lumora::installPlatform(lumora::platformWith(linux_.platform(), network_, clock_));
}

}  // namespace lumora_host
