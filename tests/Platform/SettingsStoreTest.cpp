#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <array>
#include <filesystem>
#include <limits>
#include <list>
#include <stdexcept>
#include <thread>

#include "lumora/Platform/JSON.h"
#include "lumora/Platform/Linux/LinuxSettingsStore.h"
#include "lumora/Testing/FakeSettingsStore.h"
#include "tests/Support/ChildProcess.h"
#include "tests/Support/FileSizeLimit.h"
#include "tests/Support/TemporaryFolder.h"
#include "tests/Support/TestFiles.h"

namespace lumora::testing {
namespace {

namespace fs = std::filesystem;

/// Each host runs one implementation, and stages what the tests need of it.
struct FakeHost {
  void restart() { store.loseUnflushedChanges(); }
  void setFlushFails(bool fails) { store.setFlushFails(fails); }
  FakeSettingsStore store;
};

struct LinuxHost {
  void restart() { current = std::make_unique<LinuxSettingsStore>(folder / "data/settings.json"); }
  /// A file in the folder's place lets nothing be written.
  void setFlushFails(bool fails) {
    if (!fails) fs::remove(folder / "data");
    fs::rename(folder / (fails ? "data" : "away"), folder / (fails ? "away" : "data"));
    if (fails) writeFile(folder / "data", "");
  }
  TemporaryFolder folder;
  std::unique_ptr<LinuxSettingsStore> current = std::make_unique<LinuxSettingsStore>(folder / "data/settings.json");
  ForwardingStore store{current};
};
