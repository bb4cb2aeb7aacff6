#include <thread>

#include "lumora/Facade/LumoraLead.h"
#include "lumora/Util/UIDeviceAdditionalInfo.h"
#include "tests/Facade/LumoraFixture.h"
#include "tests/Support/TestFiles.h"

namespace lumora::tests {
namespace {

constexpr const char* ignoredLine = "LumoraSDK-Tracking consent is denied, calls are ignored.";
constexpr const char* otherBundle = "com.example.other";

class ConsentTest : public LumoraTest {
 protected:
  /// Every kind of call.
  void callEverything() {
    lumora().initializeWithTarrowID(account, secret);
    lumora().startSession("s");
    lumora().endSession("s");
    lumora().reportAction("late");
    lumora().associateLead(std::make_shared<LumoraLead>());
    lumora().reportAll();
    lumora().registerPushDeviceToken(Data{0x0a});
    lumora().unregisterPushDeviceToken();
    lumora().trackPushNotification(Dictionary{{"vs", Dictionary{{"cid", "c"}}}});
    lumora().handlePushNotification(Dictionary{{"vs", Dictionary{{"cid", "c"}}}});
    lumora().applicationOpenURL(*URL::parse("lmroaccount://add_test_device?secret=secret&token=t"));
    lumora().setSecureSignature(nullptr);
    lumora().flush(std::chrono::seconds(1));
    EXPECT_EQ(lumora().getDeviceId() + lumora().getPushDeviceToken(), "");
    host.application.post(LifecycleNotification::didEnterBackground);
    host.application.post(LifecycleNotification::willEnterForeground);
    logger().reportEvents(true);
    host.queues.runAll();
  }

  void keep(const char* service) {
    host.keychain.add(
        {service, "key", "key", std::nullopt, KeychainAccessibility::afterFirstUnlock, Data{1}});
  }

  /// Nothing is left but what must stay.
  void expectErased() {
    EXPECT_EQ(host.settings.flushedValues(),
              (Dictionary{{std::string(kLumoraConsent), "granted"}, {"host", 1}}));
    ASSERT_EQ(host.keychain.items().size(), 1U);
    EXPECT_EQ(host.keychain.items().front().service, otherBundle);
    EXPECT_EQ(host.files.list(host.files.cachesDirectory()), std::vector<std::string>());
    for (const std::string& name : host.files.list(host.files.documentsDirectory()).value_or(Texts()))
      EXPECT_TRUE(name.ends_with(".lock") || name == "host.txt") << name;
  }

  /// What an application has gathered.
  void gather() {
    for (const std::string_view key : erasedSettingsKeys) host.settings.setObject(key, "old");
    host.settings.setObject(kLumoraConsent, "granted");
    host.settings.setObject("host", 1);
    host.settings.setObject("kOstrelAppIDDefaultsKeycom.example.fake", "old");
    host.settings.synchronize();
    host.bundle.setInfoValue(kBundleIdentifierKey, "com.example.fake");
    keep("com.example.fake");
    keep(otherBundle);
    const std::string documents = host.files.documentsDirectory();
    for (const char* name : {"/host.txt", "/ostrelab.sqlite", "/ostrelab.sqlite-journal",
                             "/ostrelab.sqlite.corrupt-20260101T000000Z"})
      host.files.writeAtomically(documents + name, "old");
    host.files.writeAtomically(host.files.cachesDirectory() + "/c_picture.png", "old");
  }
};

TEST_F(ConsentTest, whileDeniedNothingIsRecordedSentOrShown) {
  initialise();
  lumora().reportAction("before");
  lumora().startSession("open");
  lumora().setTrackingConsent(Consent::denied);
  callEverything();
  EXPECT_EQ(setting(kLumoraConsent), R"("denied")");
  EXPECT_EQ(storedEvents(), Texts({actionEvent("before")}));
  EXPECT_EQ(requests(), Texts());
  EXPECT_EQ(log(), Texts({ignoredLine}));
  EXPECT_EQ(host.queues.pendingCount(), 0U);

  forget();
  advance(10);
  lumora().setTrackingConsent(Consent::granted);
  lumora().reportAction("after");
  host.queues.runAll();
  EXPECT_EQ(requests(), Texts({uploadRequest}));
  EXPECT_EQ(storedEvents(), Texts());
  EXPECT_FALSE(logger().isSessionOpen("open"));
  EXPECT_TRUE(logger().isSessionOpen(kLmroSession));
  EXPECT_EQ(setting(kLmroAppOpen), "1");
}

TEST_F(ConsentTest, whatWaitsIsErasedIfAsked) {
  initialise();
  lumora().reportAction("kept");
  lumora().setTrackingConsent(Consent::denied);
  host.queues.runAll();
  EXPECT_EQ(storedEvents(), Texts({actionEvent("kept")}));
  lumora().setTrackingConsent(Consent::denied, WaitingEvents::areErased);
  // Given again before the queue came to the denial: what was called in between was called with consent.
  lumora().setTrackingConsent(Consent::unknown);
  lumora().reportAction("later");
  lumora().setTrackingConsent(Consent::denied);
  host.queues.runAll();
  EXPECT_EQ(storedEvents(), Texts({actionEvent("later")}));
  EXPECT_EQ(requests(), Texts());
}

TEST_F(ConsentTest, anErasureOfEventsIsMarkedUntilItIsDone) {
  lumora().reportAction("called");
  lumora().setTrackingConsent(Consent::denied, WaitingEvents::areErased);
  const Dictionary flushed = host.settings.flushedValues();
  EXPECT_TRUE(findValue(flushed, kLumoraConsent) && findValue(flushed, kLumoraEventErasure));
  host.queues.runAll();
  EXPECT_EQ(findValue(host.settings.flushedValues(), kLumoraEventErasure), nullptr);
}

TEST_F(ConsentTest, anErasureOfEventsThatWasCutShortIsDoneAheadOfTheNextRun) {
  LMRDataManager::sharedInstance().saveEventInDB({{"name", "of the earlier run"}});
  host.settings.setObject(kLumoraConsent, "denied");
  host.settings.setObject(kLumoraEventErasure, true);
  host.settings.setObject(kLmroInit, true);  // No client-information event.
  lumora().setTrackingConsent(Consent::granted);
  lumora().reportAction("now");
  host.queues.runAll();
  EXPECT_EQ(storedEvents(), Texts({actionEvent("now")}));
  EXPECT_EQ(setting(kLumoraEventErasure), "absent");
}

TEST_F(ConsentTest, aDenialHoldsInLaterRunsAndItsEndMakesUpForTheInitialisation) {
  host.settings.setObject(kLumoraConsent, "denied");
  EXPECT_EQ(lumora().trackingConsent(), Consent::denied);
  callEverything();
  EXPECT_EQ(host.settings.values().size(), 1U);
  lumora().setTrackingConsent(Consent::granted);
  lumora().reportAction("now");
  EXPECT_TRUE(lumora().flush(std::chrono::seconds(10))) << "called after the initialisation that was made up";
  EXPECT_TRUE(lumora().sdkInitialized());
}

TEST_F(ConsentTest, aRequestUnderWayIsAborted) {
  initialise();
  host.urlLoader.hold();
  lumora().reportAction("waiting");
  lumora().reportAll();
  std::thread library([this] { host.queues.runSerialQueues(); });
  host.urlLoader.waitForHeldRequests();
  lumora().setTrackingConsent(Consent::denied);
  library.join();
  EXPECT_EQ(storedEvents(), Texts({actionEvent("waiting")}));
}

TEST_F(ConsentTest, anErasureLeavesNothingButTheConsentAndEndsTheRun) {
  gather();
  lumora().initializeWithTarrowID(account, secret);
  host.queues.runAll();
  lumora().reportAction("waiting");
  lumora().setTrackingConsent(Consent::granted);
  lumora().eraseAllData();
  EXPECT_NE(findValue(host.settings.flushedValues(), kLumoraErasure), nullptr) << "the mark comes first";
  forget();
  callEverything();
  expectErased();
  EXPECT_EQ(requests(), Texts());
  EXPECT_EQ(log(), Texts({"LumoraSDK-All data was erased, calls are ignored until the next start."}));
}

TEST_F(ConsentTest, aShutdownThatIsTooShortLeavesAnErasureToTheQueues) {
  gather();
  initializeAndRun();
  lumora().eraseAllData();
  lumora().shutdown(std::chrono::milliseconds(0));
  host.queues.runAll();
  expectErased();
}

TEST_F(ConsentTest, theNextStartCompletesAnErasureThatWasCutShort) {
  gather();
  host.settings.setObject(kLumoraErasure, true);
  EXPECT_EQ(lumora().trackingConsent(), Consent::granted);
  expectErased();
  EXPECT_NE(lumora().getDeviceId(), "old");
}

TEST_F(ConsentTest, whatCannotBeErasedIsTriedOnceMore) {
  gather();
  initializeAndRun();
  host.keychain.setRefusesChanges(true);
  lumora().eraseAllData();
  host.queues.runAll();
  EXPECT_EQ(logWith("Not everything could be erased").size(), 1U);
  EXPECT_EQ(setting(kLumoraErasure), "true");
}

}  // namespace
}  // namespace lumora::tests
