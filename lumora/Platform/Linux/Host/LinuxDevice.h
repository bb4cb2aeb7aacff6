#pragma once

#include "lumora/Platform/Device.h"

namespace lumora {

/// The device as the host describes it; what it leaves out is asked of the system.
class LinuxDevice : public Device {
 public:
  struct Description {
    std::optional<std::string> model;
    std::optional<std::string> systemVersion;
    std::optional<std::string> name;
    std::optional<std::string> localeIdentifier;
    std::vector<std::string> preferredLanguages;
    std::optional<std::string> carrierName;
    std::optional<std::string> machineIdentifier;
  };

  explicit LinuxDevice(Description description);
  std::string model() override;
  std::string systemVersion() override;
  std::string name() override;
  std::string localeIdentifier() override;
  std::vector<std::string> preferredLanguages() override;
  std::string timeZoneName() override;
  std::optional<std::string> carrierName() override;
  std::string machineIdentifier() override;

 private:
  const Description description_;
};

}  // namespace lumora
