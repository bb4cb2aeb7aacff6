#pragma once

#include <optional>
#include <string>
#include <vector>

#include "lumora/Platform/Device.h"

namespace lumora::testing {

/// A device whose answers are plain fields.
///
/// Thread safety: the fields are set before other threads ask.
class LUMORA_EXPORT FakeDevice : public Device {
 public:
  std::string model() override { return modelText; }
  std::string systemVersion() override { return systemVersionText; }
  std::string name() override { return nameText; }
  std::string localeIdentifier() override { return locale; }
  std::vector<std::string> preferredLanguages() override { return languages; }
  std::string timeZoneName() override { return timeZone; }
  std::optional<std::string> carrierName() override { return carrier; }
  std::string machineIdentifier() override { return machine; }

  std::string modelText = "iPhone";
  std::string systemVersionText = "10.3";
  std::string nameText = "Test device";
  std::string locale = "en_US";
  std::vector<std::string> languages = {"en-US"};
  std::string timeZone = "UTC";
  std::optional<std::string> carrier;
  std::string machine = "iPhone7,2";
};

}  // namespace lumora::testing
