// A small host that does one thing and ends:
//
//   endurance-host FOLDER PORT CA end HOW COUNT NAME    reports COUNT actions and ends at once, by HOW
//   endurance-host FOLDER PORT CA allocations N NAME    lives a whole life in which allocation N fails; 0:
//   none
//
// The files lie in FOLDER as the terminal host lays them, so that either may follow the other. Actions are
// called NAME-0, NAME-1 and so on.
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <string>

#include "endurance/host/Lives.h"
#include "lumora/Platform/Linux/LinuxPlatform.h"

namespace {

/// Never destroyed, as the library's instances are not.
lumora::LinuxPlatform& installLinuxPlatform(const std::string& folder, const std::string& port,
                                            const std::string& authority) {
  lumora::LinuxPlatformOptions options;
  options.documentsDirectory = folder + "/app/Documents";
  options.cachesDirectory = folder + "/app/Caches";
  options.settingsFile = folder + "/app/settings.json";
  options.keychainFile = folder + "/keychain";
  options.info = {{"CFBundleIdentifier", "com.example.host"},
                  {"CFBundleShortVersionString", "1.0"},
                  {"CFBundleVersion", "1"}};
  options.connectTo = "127.0.0.1:" + port;
  options.certificateAuthorityFile = authority;
  auto* const host = new lumora::LinuxPlatform(options);
  lumora::installPlatform(host->platform());
  return *host;
}

}  // namespace

int main(int argc, char** argv) {
  const std::string life = argc == 8 || argc == 7 ? argv[4] : "";
  if (life == "end" && argc == 8) {
    endurance::End end{installLinuxPlatform(argv[1], argv[2], argv[3]), argv[7], std::atoi(argv[6])};
    return end.by(argv[5]);
  }
  if (life == "allocations" && argc == 7)
    return endurance::liveWithFailingAllocation(installLinuxPlatform(argv[1], argv[2], argv[3]),
                                                std::atol(argv[5]), argv[6]);
  std::fputs("endurance-host FOLDER PORT CA end HOW COUNT NAME | allocations N NAME\n", stderr);
  return 64;
}
