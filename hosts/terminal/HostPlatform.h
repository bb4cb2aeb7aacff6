#pragma once

#include "hosts/terminal/AdvancingClock.h"
#include "hosts/terminal/Display.h"
#include "hosts/terminal/Options.h"
#include "hosts/terminal/Screens.h"
#include "hosts/terminal/SwitchableNetwork.h"
#include "lumora/Platform/Linux/LinuxApplication.h"
#include "lumora/Platform/Linux/LinuxPlatform.h"
#include "lumora/Platform/Linux/LinuxTaskQueues.h"

namespace lumora_host {

/// The Linux platform with the host's own clock, network and display. Made once, on the main thread, and
/// kept until the process ends.
class HostPlatform {
 public:
  /// Throws OptionError when the data folder cannot be made.
  HostPlatform(const Options& options, Output& output);

  /// Makes it the library's platform. To be called once, before the library is used.
  void install();

  lumora::LinuxMainQueue& mainQueue() { return linux_.mainQueue(); }
  lumora::LinuxTaskQueues& queues() { return linux_.queues(); }
  lumora::LinuxApplication& application() { return linux_.application(); }
  lumora::SettingsStore& settings() { return linux_.platform().settings; }
  Display& display() { return display_; }
  Screens& screens() { return screens_; }
  AdvancingClock& clock() { return clock_; }
  SwitchableNetwork& network() { return network_; }

 private:
  Display display_;
  Screens screens_;
  lumora::LinuxPlatform linux_;
  AdvancingClock clock_;
  SwitchableNetwork network_;
};

}  // namespace lumora_host
