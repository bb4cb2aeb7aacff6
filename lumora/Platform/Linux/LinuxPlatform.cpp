// Puts the services together and gives every path its default. Each service is in a folder below this one, by
// what one looks for: files, network, images, tasks, host.
#include "lumora/Platform/Linux/LinuxPlatform.h"

#include <filesystem>
#include <list>
#include <utility>

#include "lumora/Platform/Linux/Files/DefaultPaths.h"
#include "lumora/Platform/Linux/Files/LinuxFileSystem.h"
#include "lumora/Platform/Linux/Files/LinuxKeychain.h"
#include "lumora/Platform/Linux/Files/LinuxSettingsStore.h"
#include "lumora/Platform/Linux/Files/LinuxSharedFiles.h"
#include "lumora/Platform/Linux/Host/LinuxAlerts.h"
#include "lumora/Platform/Linux/Host/LinuxBundle.h"
#include "lumora/Platform/Linux/Host/LinuxClock.h"
#include "lumora/Platform/Linux/Host/LinuxDevice.h"
#include "lumora/Platform/Linux/Host/LinuxNotifications.h"
#include "lumora/Platform/Linux/Host/LinuxSystemLog.h"
#include "lumora/Platform/Linux/Host/LinuxUUIDSource.h"
#include "lumora/Platform/Linux/Host/NetlinkChanges.h"
#include "lumora/Platform/Linux/Images/LinuxImageDecoder.h"
#include "lumora/Platform/Linux/LinuxApplication.h"
#include "lumora/Platform/Linux/LinuxTaskQueues.h"
#include "lumora/Platform/Linux/Network/LinuxURLLoader.h"
#include "lumora/Platform/Linux/Tasks/ForkWatch.h"
#include "lumora/Platform/Mutex.h"

namespace lumora {
namespace {

/// Gives every path that the host left empty its default; a relative one counts from where the default lies.
LinuxPlatformOptions withPaths(LinuxPlatformOptions options) {
  const std::filesystem::path program = programPath();
  const std::string name = program.filename().string();
  const std::string data = userDataFolder();
  const struct {
    std::string& path;
    std::string folder;
    const char* fallback;
  } places[] = {{options.documentsDirectory, data + "/" + name, "Documents"},
                // A folder of the library's own: the clean-up removes everything in it.
                {options.cachesDirectory, userCacheFolder() + "/" + name, "lumora"},
                {options.settingsFile, data + "/" + name, "settings.json"},
                {options.keychainFile, data + "/lumora", "keychain"},
                {options.resourcesDirectory, program.parent_path().string(), "resources"}};
  for (const auto& [path, folder, fallback] : places)
    path = absolutePath(path.empty() ? fallback : path, folder);
  // Empty stays empty: then the system's authorities are trusted.
  std::string& authorities = options.certificateAuthorityFile;
  if (!authorities.empty()) authorities = absolutePath(authorities, options.resourcesDirectory);
  return options;
}

LinuxDevice::Description describeDevice(const LinuxPlatformOptions& options) {
  return {.model = options.model,
          .systemVersion = options.systemVersion,
          .name = options.deviceName,
          .localeIdentifier = options.localeIdentifier,
          .preferredLanguages = options.preferredLanguages,
          .carrierName = options.carrierName,
          .machineIdentifier = options.machineIdentifier};
}

}  // namespace

namespace {

/// Never destroyed: a call that comes after the platform's end is told of yet.
LinuxSystemLog& makeLog(const LinuxPlatformOptions& options) {
  static auto* const mutex = new Mutex;
  static auto* const logs = new std::list<LinuxSystemLog>;
  Lock lock(*mutex);
  return logs->emplace_back(options.logSink, options.logDetail);
}

}  // namespace

struct LinuxPlatform::Services {
  explicit Services(const LinuxPlatformOptions& options)
      : log(makeLog(options)),
        queues(mainQueue),
        settings(options.settingsFile, &log),
        keychain(options.keychainFile, &log),
        urlLoader(options.certificateAuthorityFile, options.connectTo),
        application(options.initialState, options.urlOpener, options.rootViewController, queues),
        bundle(options.info, options.localizedTexts, options.resourcesDirectory, options.layoutLoader),
        alerts(options.alertPresenter, log),
        notifications(options.notificationScheduler, options.localNotificationScheduler, log),
        device(describeDevice(options)),
        files(options.documentsDirectory, options.cachesDirectory) {
    watchForks();
  }
  ~Services() { log.forgetHost(); }
  Services(const Services&) = delete;
  Services& operator=(const Services&) = delete;

  // In this order: each is made with those above it, and ends before them.
  LinuxSystemLog& log;
  LinuxMainQueue mainQueue;
  LinuxTaskQueues queues;
  LinuxSettingsStore settings;
  LinuxKeychain keychain;
  LinuxURLLoader urlLoader;
  LinuxImageDecoder imageDecoder;
  LinuxApplication application;
  LinuxBundle bundle;
  LinuxAlerts alerts;
  LinuxNotifications notifications;
  LinuxDevice device;
  LinuxFileSystem files;
  LinuxSharedFiles sharedFiles;
  LinuxClock clock;
  LinuxUUIDSource uuids;
  NetlinkChanges networkChanges;
  const Platform platform{settings, keychain, urlLoader,     imageDecoder,  queues, application,
                          bundle,   alerts,   notifications, device,        files,  sharedFiles,
                          clock,    log,      uuids,         networkChanges};
};

LinuxPlatform::LinuxPlatform(LinuxPlatformOptions options)
    : services_(std::make_unique<Services>(withPaths(std::move(options)))) {}

LinuxPlatform::~LinuxPlatform() = default;

const Platform& LinuxPlatform::platform() const noexcept {
  return services_->platform;
}

LinuxMainQueue& LinuxPlatform::mainQueue() noexcept {
  return services_->mainQueue;
}

LinuxTaskQueues& LinuxPlatform::queues() noexcept {
  return services_->queues;
}

LinuxApplication& LinuxPlatform::application() noexcept {
  return services_->application;
}

}  // namespace lumora
