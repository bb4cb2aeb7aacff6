#include "lumora/Util/UICKeyChainStore.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "lumora/Testing/FakePlatform.h"

namespace lumora::tests {
namespace {

constexpr const char* bundleIdentifier = "com.example.host";

class UICKeyChainStoreTest : public ::testing::Test {
 protected:
  using Store = UICKeyChainStore;
  using Texts = std::vector<std::string>;

  /// Every item as "service/key/group=value".
  Texts items() const {
    Texts found;
    for (const KeychainItem& item : host.keychain.items())
      found.push_back(item.service + "/" + item.account + "/" + item.accessGroup.value_or("-") + "=" +
                      std::string(item.value.begin(), item.value.end()));
    return found;
  }

  testing::FakePlatform& host = testing::FakePlatform::install();
};

TEST_F(UICKeyChainStoreTest, classOperationsGoStraightToTheKeychain) {
  for (const char* value : {"one", "two"}) EXPECT_TRUE(Store::setString(value, "key", "s"));
  EXPECT_TRUE(Store::setString("group", "key", "t", "g") && Store::setString("", "empty", std::nullopt));
  EXPECT_EQ(items(), (Texts{"s/key/-=two", "t/key/g=group", "com.example.host/empty/-="}));
  const Store::Text found[] = {Store::stringForKey("key", "s"), Store::stringForKey("key", "t"),
                               Store::stringForKey("empty", bundleIdentifier)};
  EXPECT_THAT(found, ::testing::ElementsAre("two", "group", ""));
  EXPECT_FALSE(Store::stringForKey("key", "t", "other") || Store::setString("value", std::nullopt, "s"));
  // Bytes that are no text are bytes all the same.
  EXPECT_TRUE(Store::setData(Data{'a', 0xC3}, "key", "s"));
  EXPECT_FALSE(Store::stringForKey("key", "s"));
  EXPECT_EQ(Store::dataForKey("key", "s"), (Data{'a', 0xC3}));
  // Absent bytes remove, and never add.
  for (int time = 0; time < 2; ++time) {
    EXPECT_TRUE(Store::removeItemForKey("key", "s") && Store::setString(std::nullopt, "key", "t"));
    EXPECT_EQ(items(), Texts{"com.example.host/empty/-="});
  }
}

TEST_F(UICKeyChainStoreTest, theDefaultServiceIsTheBundleIdentifierUntilReplaced) {
  EXPECT_EQ(Store::defaultService(), bundleIdentifier);
  host.bundle.setInfoValue("CFBundleIdentifier", "com.example.other");
  EXPECT_EQ(Store::keyChainStore().service(), bundleIdentifier);
  Store::setDefaultService("custom");
  EXPECT_TRUE(Store::setString("value", "key", std::nullopt));
  EXPECT_EQ(items(), Texts{"custom/key/-=value"});
}

TEST_F(UICKeyChainStoreTest, aServiceIsEmptiedAsAWhole) {
  Store store("s");
  store.setString("waiting", "c");
  for (const char* group : {"g", "h"}) {
    for (const char* service : {"s", "t"}) {
      Store grouped(service, group);
      grouped.setString("1", "a");
      grouped.synchronize();
    }
  }
  EXPECT_TRUE(Store::removeAllItemsForService("absent") && Store::removeAllItemsForService("s", "g"));
  EXPECT_EQ(items(), (Texts{"t/a/g=1", "s/a/h=1", "t/a/h=1"}));
  for (const char* key : {"a", "b"}) Store::setString("1", key, "s");
  store.removeAllItems();
  store.synchronize();
  EXPECT_EQ(items(), (Texts{"t/a/g=1", "t/a/h=1"}));
}

TEST_F(UICKeyChainStoreTest, aRefusingKeychainIsReportedByResults) {
  Store::setString("value", "key", "s");
  host.keychain.setRefusesChanges(true);
  for (const char* key : {"key", "other"}) EXPECT_FALSE(Store::setString("new", key, "s")) << key;
  EXPECT_FALSE(Store::removeItemForKey("key", "s") || Store::removeAllItemsForService("s"));
  // With absent bytes, the result of the removal itself does not count.
  EXPECT_TRUE(Store::setString(std::nullopt, "key", "s"));
  host.keychain.setRefuses(true);
  EXPECT_FALSE(Store::setString(std::nullopt, "key", "s") || Store::stringForKey("key", "s"));
  EXPECT_TRUE(Store::removeAllItemsForService("s"));
  EXPECT_EQ(items(), Texts{"s/key/-=value"});
}

TEST_F(UICKeyChainStoreTest, anInstanceKeepsItsWritesUntilItSynchronizesOnce) {
  Store::setString("old", "key", "s");
  Store first("s");
  const Store second("s");
  for (const char* refused : {"", "refused"}) {
    first.setString(*refused ? refused : "new", "key");
    EXPECT_EQ(first.stringForKey("key"), *refused ? refused : "new");
    EXPECT_EQ(second.stringForKey("key"), *refused ? "new" : "old");
    host.keychain.setRefusesChanges(*refused);
    first.synchronize();
    host.keychain.setRefusesChanges(false);
    first.synchronize();  // What the keychain refused is forgotten.
    EXPECT_EQ(first.stringForKey("key"), "new");
  }
  // A removal drops the waiting write first.
  first.setString("newer", "key");
  first.removeItemForKey("key");
  EXPECT_EQ(first.stringForKey("key"), "new");
  first.setString(std::nullopt, "key");
  EXPECT_FALSE(second.stringForKey("key"));
}

}  // namespace
}  // namespace lumora::tests
