// Makes one set of fakes for the process and installs it. Each fake is in a file of its own; nothing takes
// them down, as the library itself is never taken down.
#include "lumora/Testing/FakePlatform.h"

#include <cstdlib>
#include <filesystem>

namespace lumora::testing {
namespace {

FakePlatform* installed = nullptr;

/// The fakes themselves stay: the library may use them to the last moment.
void removeTemporaryFiles() {
  std::error_code ignored;
  std::filesystem::remove_all(std::filesystem::path(installed->files.documentsDirectory()).parent_path(),
                              ignored);
}

}  // namespace

FakePlatform& FakePlatform::install() {
  installed = new FakePlatform;
  installPlatform(installed->platform());
  std::atexit(removeTemporaryFiles);
  return *installed;
}

Platform FakePlatform::platform() {
  return {settings,      keychain, urlLoader, imageDecoder, queues, application, bundle, alerts,
          notifications, device,   files,     sharedFiles,  clock,  log,         uuids,  networkChanges};
}

}  // namespace lumora::testing
