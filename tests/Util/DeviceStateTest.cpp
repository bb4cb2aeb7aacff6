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
  LMRUtil::deviceState();  // It is built afresh every time.
  host.device.modelText = "iPod touch";
  host.device.systemVersionText = "9.3.5";
  host.device.locale = "fr_CA";
  host.device.carrier = "Carrier";
  host.device.languages.clear();
  host.settings.setObject(kLmroNewUser, true);
  EXPECT_EQ(writeJSON(LMRUtil::deviceState()),
            R"({"hardware":{"screen":{"device_type":"iPod","screen-size":"iPod touch"}},)"
            R"("manufacturer":"Apple","model":"iPod touch",)"
            R"("network_info":{"network_operator":"Carrier"},"new_install":true,)"
            R"("software":{"language":"","locale":"fr_CA","sdk":"9.3.5"}})");
}

TEST_F(DeviceStateTest, theFamilyIsAPrefixOfTheModel) {
  const std::pair<const char*, const char*> cases[] = {
      {"iPhone Simulator", "iPhone"}, {"iPadiPod", "iPad"}, {"ipad", "unknown"},
      {"My iPad", "unknown"},         {"", "unknown"},
  };
  for (const auto& [model, type] : cases) {
    host.device.modelText = model;
    EXPECT_EQ(LMRUtil::deviceType(), type) << model;
  }
}

TEST_F(DeviceStateTest, theModelNameOfAMachine) {
  const std::pair<const char*, const char*> cases[] = {
      {"i386", "iPhone Simulator"}, {"iPhone5,1", "iPhone 5(GSM)"}, {"iPod5,1", "iPod 5th Gen"},
      {"iPhone8,1", "iPhone8,1"},   {"iphone7,1", "iphone7,1"},     {"", ""},
  };
  for (const auto& [machine, name] : cases) {
    host.device.machine = machine;
    EXPECT_EQ(LMRUtil::deviceModelName(), name) << machine;
  }
}

}  // namespace
}  // namespace lumora::tests
