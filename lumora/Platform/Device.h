#pragma once

#include <optional>
#include <string>
#include <vector>

#include "lumora/Platform/Export.h"

namespace lumora {

/// What the device and its operating system say of themselves.
///
/// Thread safety: every operation may be called from any thread.
class LUMORA_EXPORT Device {
 public:
  virtual ~Device() = default;
  /// The generic model name, for example "iPhone".
  virtual std::string model() = 0;
  /// The operating system's version, for example "10.3".
  virtual std::string systemVersion() = 0;
  /// The name that its owner gave the device.
  virtual std::string name() = 0;
  /// The identifier of the person's locale, for example "en_US".
  virtual std::string localeIdentifier() = 0;
  /// Language tags, the preferred one first, for example "en-US". Not empty.
  virtual std::vector<std::string> preferredLanguages() = 0;
  /// The IANA name of the current time zone, for example "Europe/Paris".
  virtual std::string timeZoneName() = 0;
  /// The cellular carrier's name; nothing when there is none.
  virtual std::optional<std::string> carrierName() = 0;
  /// The hardware's machine identifier, as `uname` gives it.
  virtual std::string machineIdentifier() = 0;
};

/// Passes everything to another device; a base for a host that replaces a single answer.
class LUMORA_EXPORT ForwardingDevice : public Device {
 public:
  explicit ForwardingDevice(Device& next) : next_(next) {}
  std::string model() override { return next_.model(); }
  std::string systemVersion() override { return next_.systemVersion(); }
  std::string name() override { return next_.name(); }
  std::string localeIdentifier() override { return next_.localeIdentifier(); }
  std::vector<std::string> preferredLanguages() override { return next_.preferredLanguages(); }
  std::string timeZoneName() override { return next_.timeZoneName(); }
  std::optional<std::string> carrierName() override { return next_.carrierName(); }
  std::string machineIdentifier() override { return next_.machineIdentifier(); }

 private:
  Device& next_;
};

}  // namespace lumora
