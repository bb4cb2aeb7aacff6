#include "lumora/Util/UIDeviceAdditionalInfo.h"

#include <gtest/gtest.h>

#include <atomic>
#include <list>
#include <thread>

#include "lumora/Platform/Linux/LinuxPlatform.h"
#include "lumora/Testing/FakePlatform.h"
#include "lumora/Util/UICKeyChainStore.h"
#include "tests/Support/ChildProcess.h"
#include "tests/Support/TemporaryFolder.h"
#include "tests/Support/TestFiles.h"

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
  host.settings.setObject(installKey, 5);
  EXPECT_EQ(info().uniqueGlobalDeviceIdentifier(), uuid(2));
  EXPECT_EQ(host.settings.flushedValues(), (Dictionary{{installKey, uuid(1)}, {deviceKey, uuid(2)}}));
}

TEST_F(UIDeviceAdditionalInfoTest, threadsAtOnceGetOneIdentifierEachForTheLifeOfTheProcess) {
  info();
  EXPECT_EQ(host.settings.flushedValues(), (Dictionary{{installKey, uuid(1)}}));
  std::atomic<int> matches = 0;
  const auto check = [&matches] {
    if (info().uniqueGlobalDeviceIdentifier() == uuid(2) && info().installIdentifier() == uuid(1)) ++matches;
  };
  std::vector<std::thread> threads;
  for (int i = 0; i < 8; ++i) threads.emplace_back(check);
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(host.settings.flushedValues(), (Dictionary{{installKey, uuid(1)}, {deviceKey, uuid(2)}}));
  EXPECT_EQ(UICKeyChainStore::stringForKey(deviceKey, "com.example.host"), uuid(2));
  host.settings.clear();
  UICKeyChainStore::removeAllItemsForService(std::nullopt);
  check();
  EXPECT_EQ(matches, 9);
  EXPECT_TRUE(host.settings.values().empty());
  EXPECT_EQ(host.log.messages(), std::vector<std::string>{"LumoraSDK-Current UUID is : " + uuid(1) + " "});
}

TEST(TwoProcessesTest, agreeOnBothAtTheirFirstRun) {
  const testing::TemporaryFolder folder;
  const auto result = [&folder](int process) { return folder / std::to_string(process); };
  const auto firstRun = [&](int process) {
    LinuxPlatformOptions options;
    options.settingsFile = folder / "settings";
    options.keychainFile = folder / "keychain";
    const LinuxPlatform host(options);
    installPlatform(host.platform());
    auto& info = UIDeviceAdditionalInfo::sharedInstance();
    testing::writeFile(result(process), info.installIdentifier() + info.uniqueGlobalDeviceIdentifier());
    return true;
  };
  std::list<testing::ChildProcess> processes;
  for (int process : {0, 1, 2, 3}) processes.emplace_back([&] { return firstRun(process); });
  for (auto& process : processes) EXPECT_TRUE(process.succeeds());
  EXPECT_EQ(testing::readFile(result(0)).size(), 72U);
  for (int process : {1, 2, 3}) EXPECT_EQ(testing::readFile(result(process)), testing::readFile(result(0)));
}

}  // namespace
}  // namespace lumora::tests
