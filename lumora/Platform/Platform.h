#pragma once

#include <concepts>
#include <type_traits>

#include "lumora/Platform/Alerts.h"
#include "lumora/Platform/Application.h"
#include "lumora/Platform/Bundle.h"
#include "lumora/Platform/Clock.h"
#include "lumora/Platform/Device.h"
#include "lumora/Platform/Export.h"
#include "lumora/Platform/FileSystem.h"
#include "lumora/Platform/ImageDecoder.h"
#include "lumora/Platform/Keychain.h"
#include "lumora/Platform/NetworkChanges.h"
#include "lumora/Platform/Notifications.h"
#include "lumora/Platform/SettingsStore.h"
#include "lumora/Platform/SharedFiles.h"
#include "lumora/Platform/SystemLog.h"
#include "lumora/Platform/TaskQueues.h"
#include "lumora/Platform/URLLoader.h"
#include "lumora/Platform/UUIDSource.h"

namespace lumora {

/// Everything that the library needs from the system it runs on, one narrow interface per service.
///
/// The services belong to whoever made them and must live until the process ends.
struct Platform {
  SettingsStore& settings;
  Keychain& keychain;
  URLLoader& urlLoader;
  ImageDecoder& imageDecoder;
  TaskQueues& queues;
  Application& application;
  Bundle& bundle;
  Alerts& alerts;
  Notifications& notifications;
  Device& device;
  FileSystem& files;
  SharedFiles& sharedFiles;
  Clock& clock;
  SystemLog& log;
  UUIDSource& uuids;
  /// Where a platform has no news of its network, time alone decides when something is tried again.
  NetworkChanges& networkChanges = NetworkChanges::none();
};

/// A platform that takes some services from its host and all others from another platform:
///
///     OwnClock clock(linuxPlatform.clock);
///     lumora::installPlatform(lumora::platformWith(linuxPlatform, clock));
///
/// Each service stands in for the interface that it derives from.
template <typename... Services>
Platform platformWith(const Platform& others, Services&... services) {
  const auto chosen = [&]<typename Interface>(Interface& other) -> Interface& {
    Interface* service = &other;
    const auto look = [&service](auto& candidate) {
      if constexpr (std::derived_from<std::remove_reference_t<decltype(candidate)>, Interface>)
        service = &candidate;
    };
    (look(services), ...);
    return *service;
  };
  return {chosen(others.settings),      chosen(others.keychain), chosen(others.urlLoader),
          chosen(others.imageDecoder),  chosen(others.queues),   chosen(others.application),
          chosen(others.bundle),        chosen(others.alerts),   chosen(others.notifications),
          chosen(others.device),        chosen(others.files),    chosen(others.sharedFiles),
          chosen(others.clock),         chosen(others.log),      chosen(others.uuids),
          chosen(others.networkChanges)};
}

/// Installs the platform that the library uses from now on. To be called once, on the main thread, before
/// the first use of any shared instance; a later call changes nothing, and a line tells of it.
LUMORA_EXPORT void installPlatform(const Platform& platform);

/// The same for a caller that cannot know whether it comes first: false, and nothing changed, when it does
/// not.
LUMORA_EXPORT bool tryInstallPlatform(const Platform& platform);

/// The installed platform. Without one, the platform that the library was built with (on Linux the one of
/// `lumora/Platform/Linux/LinuxPlatform.h`, with its default options) is installed by the first call.
LUMORA_EXPORT const Platform& platform();

}  // namespace lumora
