#include "lumora/Util/UIDeviceAdditionalInfo.h"

#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <vector>

#include "lumora/Testing/FakePlatform.h"
#include "lumora/Util/LMRSettingsKeys.h"
#include "lumora/Util/UICKeyChainStore.h"

namespace lumora::tests {
namespace {

constexpr const char* installKey = "kOstrelAppIDDefaultsKey";
constexpr const char* deviceKey = "kOstrelAppIDDefaultsKeycom.example.host";

class UIDeviceAdditionalInfoTest : public ::testing::Test {
 protected:
  static UIDeviceAdditionalInfo& info() { return UIDeviceAdditionalInfo::sharedInstance(); }

  static std::string uuid(std::uint32_t number) { return testing::FakeUUIDSource::uuid(number); }

  testing::FakePlatform& host = testing::FakePlatform::install();
};

TEST_F(UIDeviceAdditionalInfoTest, theFirstRunMakesAndKeepsBoth) {
  info();
  EXPECT_EQ(host.settings.flushedValues(), (Dictionary{{installKey, uuid(1)}}));
  EXPECT_EQ(info().uniqueGlobalDeviceIdentifier(), uuid(2));
  EXPECT_EQ(info().installIdentifier(), uuid(1));
  EXPECT_EQ(host.settings.flushedValues(), (Dictionary{{installKey, uuid(1)}, {deviceKey, uuid(2)}}));

  const auto items = host.keychain.items();
  ASSERT_EQ(items.size(), 1U);
  EXPECT_EQ(items[0].service, "com.example.host");
  EXPECT_EQ(items[0].account, deviceKey);
  EXPECT_FALSE(items[0].accessGroup);
  EXPECT_EQ(UICKeyChainStore::stringForKey(deviceKey, std::nullopt), uuid(2));
  EXPECT_EQ(host.log.messages(), std::vector<std::string>{"LumoraSDK-Current UUID is : " + uuid(1) + " "});
}

TEST_F(UIDeviceAdditionalInfoTest, aLaterRunReadsBoth) {
  host.settings.setObject(installKey, "INSTALL");
  host.settings.setObject(deviceKey, "DEVICE");
  EXPECT_EQ(info().installIdentifier(), "INSTALL");
  EXPECT_EQ(info().uniqueGlobalDeviceIdentifier(), "DEVICE");
  EXPECT_EQ(host.settings.flushCount(), 0);
  EXPECT_TRUE(host.keychain.items().empty());
  EXPECT_EQ(host.log.messages(), std::vector<std::string>{"LumoraSDK-Current UUID is : INSTALL "});
}

TEST_F(UIDeviceAdditionalInfoTest, aReinstallationRestoresTheDeviceIdentifier) {
  UICKeyChainStore::setString("DEVICE", deviceKey, std::nullopt);
  EXPECT_EQ(info().installIdentifier(), uuid(1));
  EXPECT_EQ(info().uniqueGlobalDeviceIdentifier(), "DEVICE");
  EXPECT_EQ(host.settings.flushedValues(), (Dictionary{{installKey, uuid(1)}, {deviceKey, "DEVICE"}}));
}

TEST_F(UIDeviceAdditionalInfoTest, theSettingsStoreWinsAndTheKeychainStays) {
  host.settings.setObject(deviceKey, "SETTINGS");
  UICKeyChainStore::setString("KEYCHAIN", deviceKey, std::nullopt);
  EXPECT_EQ(info().uniqueGlobalDeviceIdentifier(), "SETTINGS");
  EXPECT_EQ(UICKeyChainStore::stringForKey(deviceKey, std::nullopt), "KEYCHAIN");
}

TEST_F(UIDeviceAdditionalInfoTest, bothStayForTheLifeOfTheProcess) {
  const std::string install = info().installIdentifier();
  const std::string device = info().uniqueGlobalDeviceIdentifier();
  host.settings.clear();
  UICKeyChainStore::removeAllItemsForService(std::nullopt);
  EXPECT_EQ(info().installIdentifier(), install);
  EXPECT_EQ(info().uniqueGlobalDeviceIdentifier(), device);
  EXPECT_TRUE(host.settings.values().empty());
  EXPECT_EQ(host.log.messages().size(), 1U);
}

TEST_F(UIDeviceAdditionalInfoTest, aRefusingKeychainCostsOnlyTheReinstallation) {
  host.keychain.setRefuses(true);
  EXPECT_EQ(info().uniqueGlobalDeviceIdentifier(), uuid(2));
  EXPECT_EQ(host.settings.flushedValues().at(deviceKey), Value(uuid(2)));
}

TEST_F(UIDeviceAdditionalInfoTest, threadsAtOnceGetOneIdentifierEach) {
  constexpr std::size_t count = 8;
  std::vector<std::string> installs(count);
  std::vector<std::string> devices(count);
  std::vector<std::thread> threads;
  for (std::size_t i = 0; i < count; ++i) {
    threads.emplace_back([&, i] {
      devices[i] = info().uniqueGlobalDeviceIdentifier();
      installs[i] = info().installIdentifier();
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(installs, std::vector<std::string>(count, uuid(1)));
  EXPECT_EQ(devices, std::vector<std::string>(count, uuid(2)));
  EXPECT_EQ(host.log.messages().size(), 1U);
}

}  // namespace
}  // namespace lumora::tests
