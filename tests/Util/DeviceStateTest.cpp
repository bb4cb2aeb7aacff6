#include <gtest/gtest.h>

#include <string>
#include <utility>

#include "lumora/Platform/JSON.h"
#include "lumora/Testing/FakePlatform.h"
#include "lumora/Util/LMRSettingsKeys.h"
#include "lumora/Util/LMRUtil.h"

namespace lumora::tests {
namespace {

class DeviceStateTest : public ::testing::Test {
 protected:
  testing::FakePlatform& host = testing::FakePlatform::install();
};

TEST_F(DeviceStateTest, theWholeMap) {
  host.device.modelText = "iPod touch";
  host.device.systemVersionText = "9.3.5";
  host.device.locale = "fr_CA";
  host.device.languages = {"fr-CA", "en"};
  EXPECT_EQ(writeJSON(LMRUtil::deviceState()),
            R"({"hardware":{"screen":{"device_type":"iPod","screen-size":"iPod touch"}},)"
            R"("manufacturer":"Apple","model":"iPod touch",)"
            R"("network_info":{"network_operator":"No network"},"new_install":false,)"
            R"("software":{"language":"fr-CA","locale":"fr_CA","sdk":"9.3.5"}})");
}

TEST_F(DeviceStateTest, isBuiltAfreshFromCarrierAndInstallation) {
  LMRUtil::deviceState();
  host.device.carrier = "Carrier";
  host.settings.setObject(kLmroNewUser, true);
  const Dictionary state = LMRUtil::deviceState();
  EXPECT_EQ(state.at("network_info"), Value(Dictionary{{"network_operator", "Carrier"}}));
  EXPECT_TRUE(state.at("new_install").isBoolean());
  EXPECT_TRUE(state.at("new_install").boolValue());
}

TEST_F(DeviceStateTest, theFamilyIsAPrefixOfTheModel) {
  const std::pair<const char*, const char*> cases[] = {
      {"iPod touch", "iPod"},    {"iPod", "iPod"},
      {"iPhone", "iPhone"},      {"iPhone Simulator", "iPhone"},
      {"iPad", "iPad"},          {"iPadiPod", "iPad"},
      {"ipad", "unknown"},       {"IPHONE", "unknown"},
      {" iPad", "unknown"},      {"My iPad", "unknown"},
      {"Linux host", "unknown"}, {"", "unknown"},
  };
  for (const auto& [model, type] : cases) {
    host.device.modelText = model;
    EXPECT_EQ(LMRUtil::deviceType(), type) << model;
  }
}

TEST_F(DeviceStateTest, theModelNameOfAMachine) {
  const std::pair<const char*, const char*> cases[] = {
      {"i386", "iPhone Simulator"},
      {"x86_64", "iPad Simulator"},
      {"iPhone1,1", "iPhone"},
      {"iPhone3,2", "iPhone 4(Rev A)"},
      {"iPhone5,1", "iPhone 5(GSM)"},
      {"iPhone7,1", "iPhone 6+ (GSM+CDMA)"},
      {"iPad2,4", "iPad 2(WiFi Rev A)"},
      {"iPad2,5", "iPad Mini 1G (WiFi)"},
      {"iPad4,6", "iPad Mini 2G (GSM+CDMA)"},
      {"iPod5,1", "iPod 5th Gen"},
      // Without a name.
      {"iPhone8,1", "iPhone8,1"},
      {"iphone7,1", "iphone7,1"},
      {"iPhone7,1 ", "iPhone7,1 "},
      {"aarch64", "aarch64"},
      {"", ""},
  };
  for (const auto& [machine, name] : cases) {
    host.device.machine = machine;
    EXPECT_EQ(LMRUtil::deviceModelName(), name) << machine;
  }
}

}  // namespace
}  // namespace lumora::tests
