#include "lumora/Util/UIDeviceAdditionalInfo.h"

#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <thread>
#include <vector>

#include "lumora/Testing/FakePlatform.h"
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
  EXPECT_EQ(host.settings.flushedValues(), (Dictionary{{installKey, uuid(1)}, {deviceKey, uuid(2)}}));
  EXPECT_EQ(UICKeyChainStore::stringForKey(deviceKey, "com.example.host"), uuid(2));
  EXPECT_EQ(host.log.messages(), std::vector<std::string>{"LumoraSDK-Current UUID is : " + uuid(1) + " "});
}

TEST_F(UIDeviceAdditionalInfoTest, aLaterRunReadsBothFromTheSettings) {
  host.settings.setObject(installKey, "INSTALL");
  host.settings.setObject(deviceKey, "DEVICE");
  UICKeyChainStore::setString("KEYCHAIN", deviceKey, std::nullopt);
  EXPECT_EQ(info().installIdentifier(), "INSTALL");
  EXPECT_EQ(info().uniqueGlobalDeviceIdentifier(), "DEVICE");
  EXPECT_EQ(host.settings.flushCount(), 0);
  EXPECT_EQ(UICKeyChainStore::stringForKey(deviceKey, std::nullopt), "KEYCHAIN");
}

TEST_F(UIDeviceAdditionalInfoTest, aReinstallationRestoresTheDeviceIdentifier) {
  UICKeyChainStore::setString("DEVICE", deviceKey, std::nullopt);
  EXPECT_EQ(info().uniqueGlobalDeviceIdentifier(), "DEVICE");
  EXPECT_EQ(host.settings.flushedValues(), (Dictionary{{installKey, uuid(1)}, {deviceKey, "DEVICE"}}));
}

TEST_F(UIDeviceAdditionalInfoTest, aRefusingKeychainCostsOnlyTheReinstallation) {
  host.keychain.setRefuses(true);
  EXPECT_EQ(info().uniqueGlobalDeviceIdentifier(), uuid(2));
  EXPECT_EQ(host.settings.flushedValues().at(deviceKey), Value(uuid(2)));
}

TEST_F(UIDeviceAdditionalInfoTest, threadsAtOnceGetOneIdentifierEachForTheLifeOfTheProcess) {
  std::atomic<int> matches = 0;
  const auto check = [&matches] {
    if (info().uniqueGlobalDeviceIdentifier() == uuid(2) && info().installIdentifier() == uuid(1)) ++matches;
  };
  std::vector<std::thread> threads;
  for (int i = 0; i < 8; ++i) threads.emplace_back(check);
  for (std::thread& thread : threads) thread.join();
  host.settings.clear();
  UICKeyChainStore::removeAllItemsForService(std::nullopt);
  check();
  EXPECT_EQ(matches, 9);
  EXPECT_TRUE(host.settings.values().empty());
  EXPECT_EQ(host.log.messages().size(), 1U);
}

}  // namespace
}  // namespace lumora::tests
