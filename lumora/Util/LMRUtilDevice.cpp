// What the service is told of this device. The answers are the platform's Device's; their shape and names are
// those that the service knows, on every system that the library runs on.
#include <array>
#include <utility>

#include "lumora/Platform/Platform.h"
#include "lumora/Util/LMRSettingsKeys.h"
#include "lumora/Util/LMRUtil.h"

namespace lumora {
namespace {

using namespace std::string_view_literals;

/// Machine identifiers and the names under which the hardware was sold.
constexpr std::array<std::pair<std::string_view, std::string_view>, 42> modelNames{{
    {"i386"sv, "iPhone Simulator"sv},
    {"x86_64"sv, "iPad Simulator"sv},
    {"iPhone1,1"sv, "iPhone"sv},
    {"iPhone1,2"sv, "iPhone 3G"sv},
    {"iPhone2,1"sv, "iPhone 3GS"sv},
    {"iPhone3,1"sv, "iPhone 4"sv},
    {"iPhone3,2"sv, "iPhone 4(Rev A)"sv},
    {"iPhone3,3"sv, "iPhone 4(CDMA)"sv},
    {"iPhone4,1"sv, "iPhone 4S"sv},
    {"iPhone5,1"sv, "iPhone 5(GSM)"sv},
    {"iPhone5,2"sv, "iPhone 5(GSM+CDMA)"sv},
    {"iPhone5,3"sv, "iPhone 5c(GSM)"sv},
    {"iPhone5,4"sv, "iPhone 5c(GSM+CDMA)"sv},
    {"iPhone6,1"sv, "iPhone 5s(GSM)"sv},
    {"iPhone6,2"sv, "iPhone 5s(GSM+CDMA)"sv},
    {"iPhone7,1"sv, "iPhone 6+ (GSM+CDMA)"sv},
    {"iPhone7,2"sv, "iPhone 6 (GSM+CDMA)"sv},
    {"iPad1,1"sv, "iPad"sv},
    {"iPad2,1"sv, "iPad 2(WiFi)"sv},
    {"iPad2,2"sv, "iPad 2(GSM)"sv},
    {"iPad2,3"sv, "iPad 2(CDMA)"sv},
    {"iPad2,4"sv, "iPad 2(WiFi Rev A)"sv},
    {"iPad2,5"sv, "iPad Mini 1G (WiFi)"sv},
    {"iPad2,6"sv, "iPad Mini 1G (GSM)"sv},
    {"iPad2,7"sv, "iPad Mini 1G (GSM+CDMA)"sv},
    {"iPad3,1"sv, "iPad 3(WiFi)"sv},
    {"iPad3,2"sv, "iPad 3(GSM+CDMA)"sv},
    {"iPad3,3"sv, "iPad 3(GSM)"sv},
    {"iPad3,4"sv, "iPad 4(WiFi)"sv},
    {"iPad3,5"sv, "iPad 4(GSM)"sv},
    {"iPad3,6"sv, "iPad 4(GSM+CDMA)"sv},
    {"iPad4,1"sv, "iPad Air(WiFi)"sv},
    {"iPad4,2"sv, "iPad Air(GSM)"sv},
    {"iPad4,3"sv, "iPad Air(GSM+CDMA)"sv},
    {"iPad4,4"sv, "iPad Mini 2G (WiFi)"sv},
    {"iPad4,5"sv, "iPad Mini 2G (GSM)"sv},
    {"iPad4,6"sv, "iPad Mini 2G (GSM+CDMA)"sv},
    {"iPod1,1"sv, "iPod 1st Gen"sv},
    {"iPod2,1"sv, "iPod 2nd Gen"sv},
    {"iPod3,1"sv, "iPod 3rd Gen"sv},
    {"iPod4,1"sv, "iPod 4th Gen"sv},
    {"iPod5,1"sv, "iPod 5th Gen"sv},
}};

}  // namespace

Dictionary LMRUtil::deviceState() {
  Device& device = platform().device;
  const std::string model = device.model();
  // The model stands for the size of its screen.
  Dictionary screen{{"screen-size", model}, {"device_type", deviceType()}};
  Dictionary hardware{{"screen", std::move(screen)}};
  Dictionary software{
      {"sdk", device.systemVersion()}, {"locale", device.localeIdentifier()}, {"language", getLocal()}};
  return {{"model", model},
          {"manufacturer", "Apple"},
          {"network_info", networkInfo()},
          {"hardware", std::move(hardware)},
          {"software", std::move(software)},
          {"new_install", platform().settings.object(kLmroNewUser).boolValue()}};
}

Dictionary LMRUtil::networkInfo() {
  return {{"network_operator", platform().device.carrierName().value_or("No network")}};
}

std::string LMRUtil::deviceType() {
  const std::string model = platform().device.model();
  for (const std::string_view family : {"iPod"sv, "iPhone"sv, "iPad"sv}) {
    if (model.starts_with(family)) return std::string(family);
  }
  return "unknown";
}

/// By the machine, not by the model that the device names itself.
std::string LMRUtil::deviceModelName() {
  std::string machine = platform().device.machineIdentifier();
  for (const auto& [identifier, name] : modelNames) {
    if (identifier == machine) return std::string(name);
  }
  return machine;
}

}  // namespace lumora
