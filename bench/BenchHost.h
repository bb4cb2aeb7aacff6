#pragma once

#include <memory>
#include <string>

#include "lumora/Platform/Linux/LinuxPlatform.h"
#include "lumora/Platform/URLLoader.h"

namespace lumora_bench {

/// The host application of a measure: the Linux platform with its files in a folder of the measure, and a log
/// that discards what it gets. Never destroyed, as the library's instances are not.
class BenchHost {
 public:
  /// Without an address every connection is refused.
  struct Network {
    std::string address = "127.0.0.1:9";
    std::string authorityFile = {};
  };

  /// Makes the platform and installs it.
  static BenchHost& install(const std::string& folder, const Network& network);
  static BenchHost& install(const std::string& folder) { return install(folder, Network()); }
  /// With a network that accepts every request at once.
  static BenchHost& installWithoutNetwork(const std::string& folder);
  /// Whether settings are written to the disk when the library asks for it; only of a host without a network.
  void setFlushesSettings(bool flushes);

  /// Initialises the library and waits until its queues have come to rest.
  void initializeLibrary() const;
  /// Waits until the tasks that are on the library's queues have run.
  void settle() const;

  /// Keeps the uploads away that events ask for, for an hour.
  void putUploadsOff() const;

  const std::string& databaseFile() const noexcept { return databaseFile_; }
  const std::string& cachesFolder() const noexcept { return cachesFolder_; }

 private:
  BenchHost(const std::string& folder, const Network& network);

  class Settings;

  const std::string databaseFile_;
  const std::string cachesFolder_;
  std::unique_ptr<lumora::LinuxPlatform> platform_;
  std::unique_ptr<lumora::URLLoader> loader_;
  std::shared_ptr<Settings> settings_;
};

/// The path of the library's database below a measure's folder, whose documents directory is made.
std::string preparedDatabaseFile(const std::string& folder);

}  // namespace lumora_bench
