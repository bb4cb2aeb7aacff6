#pragma once

#include "lumora/Platform/Platform.h"
#include "lumora/Testing/FakeAlerts.h"
#include "lumora/Testing/FakeApplication.h"
#include "lumora/Testing/FakeBundle.h"
#include "lumora/Testing/FakeClock.h"
#include "lumora/Testing/FakeDevice.h"
#include "lumora/Testing/FakeFileSystem.h"
#include "lumora/Testing/FakeImageDecoder.h"
#include "lumora/Testing/FakeKeychain.h"
#include "lumora/Testing/FakeNetworkChanges.h"
#include "lumora/Testing/FakeNotifications.h"
#include "lumora/Testing/FakeSettingsStore.h"
#include "lumora/Testing/FakeSharedFiles.h"
#include "lumora/Testing/FakeSystemLog.h"
#include "lumora/Testing/FakeTaskQueues.h"
#include "lumora/Testing/FakeURLLoader.h"
#include "lumora/Testing/FakeUUIDSource.h"

namespace lumora::testing {

/// One fake of every platform service.
///
///     auto& host = lumora::testing::FakePlatform::install();
///     host.settings.setObject("lmro.Tarrow", "account");
///     …
///     host.queues.runAll();
///
/// A process has one platform: tests that install it run in a process each.
class LUMORA_EXPORT FakePlatform {
 public:
  /// Makes a set of fakes, installs it as the library's platform, and keeps it until the process ends (its
  /// temporary files too go only then).
  static FakePlatform& install();

  FakePlatform() = default;
  FakePlatform(const FakePlatform&) = delete;
  FakePlatform& operator=(const FakePlatform&) = delete;

  /// For a host that wraps some of the services and installs the result itself.
  Platform platform();

  FakeSettingsStore settings;
  FakeKeychain keychain;
  FakeURLLoader urlLoader;
  FakeImageDecoder imageDecoder;
  FakeTaskQueues queues;
  FakeApplication application;
  FakeBundle bundle;
  FakeAlerts alerts;
  FakeNotifications notifications;
  FakeDevice device;
  FakeFileSystem files;
  FakeSharedFiles sharedFiles;
  FakeClock clock;
  FakeSystemLog log;
  FakeUUIDSource uuids;
  FakeNetworkChanges networkChanges;
};

}  // namespace lumora::testing
