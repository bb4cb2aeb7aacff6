#pragma once

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "lumora/Platform/Linux/LogOptions.h"
#include "lumora/Platform/Platform.h"

namespace lumora {

class LinuxMainQueue;
class LinuxApplication;
class LinuxTaskQueues;

/// What a host tells the Linux platform about itself. Every field has a usable default.
///
/// A relative path never means the working directory: it counts from the folder of the field's default. For
/// hosts in managed languages `<program name>` is their `CFBundleIdentifier`, since one runtime runs many.
struct LinuxPlatformOptions {
  /// The database's folder; empty: `$XDG_DATA_HOME/<program name>/Documents` (`~/.local/share` when unset).
  std::string documentsDirectory;
  /// The folder of files that can be fetched again; empty: `$XDG_CACHE_HOME/<program name>/lumora`
  /// (`~/.cache` when unset). The library takes everything in it for its own.
  std::string cachesDirectory;
  /// The settings file; empty: `$XDG_DATA_HOME/<program name>/settings.json`.
  std::string settingsFile;
  /// The keychain's file, outside the host's own data; empty: `$XDG_DATA_HOME/lumora/keychain`.
  std::string keychainFile;
  /// The folder of the host's resources, such as `LMRResources.bundle`; empty: `resources` beside the
  /// program.
  std::string resourcesDirectory;

  /// The host's information entries: `CFBundleIdentifier`, `CFBundleShortVersionString`, `CFBundleVersion`.
  std::map<std::string, std::string, std::less<>> info;
  /// The host's own wording of the library's texts, by the library's text.
  std::map<std::string, std::string, std::less<>> localizedTexts;

  /// What the device information answers; what is not set is asked of the system. The system version says
  /// which notification service is used, the newer one from 10 on; not set, it is such a one.
  std::optional<std::string> model;
  std::optional<std::string> systemVersion;
  std::optional<std::string> deviceName;
  std::optional<std::string> localeIdentifier;
  std::vector<std::string> preferredLanguages;
  std::optional<std::string> carrierName;
  std::optional<std::string> machineIdentifier;

  /// A PEM file of the certificate authorities to trust instead of the system's. A relative path counts from
  /// the resources.
  std::string certificateAuthorityFile;
  /// `HOST:PORT`: every connection goes there, while names and certificates are checked as the URL says.
  std::string connectTo;

  ApplicationState initialState = ApplicationState::active;

  /// Where the log's lines go: a destination, or a function of the host's; LogOptions.h tells what each does.
  /// `options.logSink = lumora::LogDestination::journal;`
  LogSink logSink = LogDestination::standardError;
  /// Which lines there are. Without `trace` the log holds nothing of people, devices and secrets.
  LogDetail logDetail = LogDetail::forDevelopers;
  /// Opens a URL; gives false when it cannot. Main thread. Without one, `xdg-open` is started.
  std::function<bool(const URL& url)> urlOpener;
  /// Shows an alert. Main thread. Without one, alerts are written to the log.
  std::function<void(Alert alert)> alertPresenter;
  /// Schedules notifications: the first with system version 10 or newer, the second with an older one. Main
  /// thread. Without the one that is needed no notification appears, and a line in the log says so.
  std::function<void(const NotificationRequest& request,
                     std::function<void(std::optional<std::string>)> completion)>
      notificationScheduler;
  std::function<void(const LocalNotification& notification)> localNotificationScheduler;
  /// Gives the bottom screen of the key window. Main thread. Without one there is no window.
  std::function<std::shared_ptr<ViewController>()> rootViewController;
  /// Loads a layout resource from its file. Any thread. Without one there are no layouts.
  std::function<std::shared_ptr<LayoutResource>(const std::string& path)> layoutLoader;
};

/// The Linux implementation of every platform service.
///
/// Made once, on the thread that is to be the main thread, and kept until the process ends:
///
///     static auto* const host = new lumora::LinuxPlatform(options);
///     lumora::installPlatform(host->platform());
///     …
///     host->mainQueue().run();
///
/// A host that installs no platform reaches the one that the library makes for itself by `defaultInstance`.
///
/// A platform that ends before the process does is used no more once `Lumora::shutdown` has returned. In a
/// child made by `fork` it does nothing, not even at its end: what its files, connections and threads do is
/// the parent's business alone.
///
/// When the process ends by `exit` or by a return from `main`, none of the options' functions is called any
/// more, a request under way is aborted, and what the host called before is stored; that takes a second at
/// most.
class LUMORA_EXPORT LinuxPlatform {
 public:
  explicit LinuxPlatform(LinuxPlatformOptions options = {});
  ~LinuxPlatform();
  LinuxPlatform(const LinuxPlatform&) = delete;
  LinuxPlatform& operator=(const LinuxPlatform&) = delete;

  /// The platform, with default options, that the library uses when the host installs none. The first call
  /// makes it, the library's own first use included: the thread of that call becomes the main thread. Never
  /// destroyed.
  static LinuxPlatform& defaultInstance();

  const Platform& platform() const noexcept;
  LinuxMainQueue& mainQueue() noexcept;
  LinuxTaskQueues& queues() noexcept;
  LinuxApplication& application() noexcept;

 private:
  struct Services;
  std::unique_ptr<Services> services_;
};

}  // namespace lumora
