#include "lumora/Util/UICKeyChainStore.h"

#include <gtest/gtest.h>

#include <string>

#include "lumora/Testing/FakePlatform.h"

namespace lumora::tests {
namespace {

constexpr const char* bundleIdentifier = "com.example.host";

Data bytes(std::string_view text) {
  return {text.begin(), text.end()};
}

class UICKeyChainStoreTest : public ::testing::Test {
 protected:
  using Store = UICKeyChainStore;
  using Texts = std::vector<std::string>;

  /// Every item as "service/key/group=value".
  Texts items() const {
    Texts found;
    for (const KeychainItem& item : host.keychain.items()) {
      EXPECT_EQ(item.generic, item.account);
      found.push_back(item.service + "/" + item.account + "/" + item.accessGroup.value_or("-") + "=" +
                      std::string(item.value.begin(), item.value.end()));
    }
    return found;
  }

  testing::FakePlatform& host = testing::FakePlatform::install();
};

TEST_F(UICKeyChainStoreTest, classOperationsGoStraightToTheKeychain) {
  EXPECT_TRUE(Store::setString("one", "key", "s"));
  EXPECT_TRUE(Store::setString("two", "key", "s"));
  EXPECT_TRUE(Store::setString("group", "key", "t", "g"));
  EXPECT_TRUE(Store::setString("", "empty", std::nullopt));
  EXPECT_EQ(items(), (Texts{"s/key/-=two", "t/key/g=group", "com.example.host/empty/-="}));

  EXPECT_EQ(Store::stringForKey("key", "s"), "two");
  EXPECT_EQ(Store::stringForKey("key", "t", "g"), "group");
  EXPECT_EQ(Store::stringForKey("key", "t"), "group");
  EXPECT_EQ(Store::stringForKey("empty", bundleIdentifier), "");
  EXPECT_FALSE(Store::stringForKey("key", "t", "other"));
  EXPECT_FALSE(Store::stringForKey("key", std::nullopt));
  EXPECT_FALSE(Store::stringForKey("absent", "s"));

  EXPECT_TRUE(Store::removeItemForKey("key", "s"));
  EXPECT_TRUE(Store::removeItemForKey("key", "s"));
  EXPECT_EQ(items(), (Texts{"t/key/g=group", "com.example.host/empty/-="}));
}

TEST_F(UICKeyChainStoreTest, absentBytesRemoveAndNeverAdd) {
  EXPECT_TRUE(Store::setData(std::nullopt, "key", "s"));
  EXPECT_EQ(items(), Texts());
  EXPECT_TRUE(Store::setString("value", "key", "s"));
  EXPECT_TRUE(Store::setString(std::nullopt, "key", "s"));
  EXPECT_EQ(items(), Texts());

  // The removal's own result does not count.
  EXPECT_TRUE(Store::setString("value", "key", "s"));
  host.keychain.setRefusesChanges(true);
  EXPECT_TRUE(Store::setData(std::nullopt, "key", "s"));
  EXPECT_EQ(items(), Texts{"s/key/-=value"});
}

TEST_F(UICKeyChainStoreTest, withoutAKeyNothingHappens) {
  EXPECT_FALSE(Store::setString("value", std::nullopt, "s"));
  EXPECT_FALSE(Store::setData(std::nullopt, std::nullopt, "s"));
  EXPECT_FALSE(Store::removeItemForKey(std::nullopt, "s"));
  EXPECT_FALSE(Store::dataForKey(std::nullopt, "s"));
  Store store("s");
  store.setString("value", std::nullopt);
  store.removeItemForKey(std::nullopt);
  EXPECT_FALSE(store.stringForKey(std::nullopt));
  EXPECT_TRUE(store.itemsToUpdate().empty());
}

TEST_F(UICKeyChainStoreTest, theDefaultServiceIsTheBundleIdentifierUntilReplaced) {
  EXPECT_EQ(Store::defaultService(), bundleIdentifier);
  host.bundle.setInfoValue("CFBundleIdentifier", "com.example.other");
  EXPECT_EQ(Store::defaultService(), bundleIdentifier);
  const Store before = Store::keyChainStore();
  Store::setDefaultService("custom");
  EXPECT_EQ(Store::defaultService(), "custom");
  EXPECT_EQ(Store::keyChainStoreWithService(std::nullopt, "g").service(), "custom");
  EXPECT_EQ(Store::keyChainStoreWithService(std::nullopt, "g").accessGroup(), "g");
  EXPECT_EQ(before.service(), bundleIdentifier);
  EXPECT_TRUE(Store::setString("value", "key", std::nullopt));
  EXPECT_EQ(items(), Texts{"custom/key/-=value"});
}

TEST_F(UICKeyChainStoreTest, bytesThatAreNoTextAreBytesAllTheSame) {
  for (const Data& value : {Data{0xFF, 0xFE}, Data{'a', 0xC3}, Data{0xED, 0xA0, 0x80}}) {
    ASSERT_TRUE(Store::setData(value, "key", "s"));
    EXPECT_FALSE(Store::stringForKey("key", "s")) << Value(value).description();
    EXPECT_EQ(Store::dataForKey("key", "s"), value);
  }
  ASSERT_TRUE(Store::setData(Data{'a', 0, 'b'}, "key", "s"));
  EXPECT_EQ(Store::stringForKey("key", "s"), std::string("a\0b", 3));
}

TEST_F(UICKeyChainStoreTest, aServiceIsListedAndEmptiedAsAWhole) {
  Store::setString("1", "a", "s");
  Store::setString("2", "b", "s");
  Store::setString("3", "b", "s", "g");
  Store::setString("4", "a", "t");
  const auto listed = Store::itemsForService("s");
  ASSERT_TRUE(listed);
  EXPECT_EQ(listed->size(), 3U);
  EXPECT_EQ(listed->front().value, bytes("1"));
  EXPECT_FALSE(Store::itemsForService("absent"));

  EXPECT_TRUE(Store::removeAllItemsForService("absent"));
  EXPECT_TRUE(Store::removeAllItemsForService("s", "g"));
  EXPECT_EQ(items(), (Texts{"s/a/-=1", "s/b/-=2", "t/a/-=4"}));
  Store::setString("3", "b", "s", "g");
  EXPECT_TRUE(Store::removeAllItemsForService("s"));
  EXPECT_EQ(items(), Texts{"t/a/-=4"});
}

TEST_F(UICKeyChainStoreTest, aRefusingKeychainIsReportedByResults) {
  Store::setString("value", "key", "s");
  host.keychain.setRefusesChanges(true);
  EXPECT_FALSE(Store::setString("new", "key", "s"));
  EXPECT_FALSE(Store::setString("new", "other", "s"));
  EXPECT_FALSE(Store::removeItemForKey("key", "s"));
  EXPECT_FALSE(Store::removeAllItemsForService("s"));
  EXPECT_EQ(Store::stringForKey("key", "s"), "value");

  host.keychain.setRefuses(true);
  EXPECT_FALSE(Store::setString("new", "key", "s"));
  EXPECT_FALSE(Store::setString(std::nullopt, "key", "s"));
  EXPECT_FALSE(Store::stringForKey("key", "s"));
  EXPECT_FALSE(Store::itemsForService("s"));
  EXPECT_TRUE(Store::removeAllItemsForService("s"));
  EXPECT_EQ(items(), Texts{"s/key/-=value"});
  EXPECT_TRUE(host.log.messages().empty());
}

TEST_F(UICKeyChainStoreTest, instancesShareTheirValuesOnlyAfterSynchronize) {
  Store::setString("old", "key", "s");
  Store first("s");
  const Store second("s");
  first.setString("new", "key");
  first.setObject("extra", "more");
  EXPECT_EQ(first.stringForKey("key"), "new");
  EXPECT_EQ(first.objectForKeyedSubscript("more"), "extra");
  EXPECT_EQ(second.stringForKey("key"), "old");
  EXPECT_FALSE(second.stringForKey("more"));

  first.synchronize();
  EXPECT_TRUE(first.itemsToUpdate().empty());
  EXPECT_EQ(second.stringForKey("key"), "new");
  EXPECT_EQ(second.stringForKey("more"), "extra");
}

TEST_F(UICKeyChainStoreTest, aRemovalDropsTheWaitingWriteFirst) {
  Store::setString("old", "key", "s");
  Store store("s");
  store.setString("new", "key");
  store.removeItemForKey("key");
  EXPECT_EQ(store.stringForKey("key"), "old");
  store.removeItemForKey("key");
  EXPECT_FALSE(store.stringForKey("key"));

  store.setString("new", "key");
  store.setString(std::nullopt, "key");
  store.synchronize();
  EXPECT_EQ(items(), Texts());
}

TEST_F(UICKeyChainStoreTest, removeAllItemsDropsWritesAndItems) {
  Store::setString("1", "a", "s");
  Store::setString("2", "a", "t");
  Store store("s");
  store.setString("3", "b");
  store.removeAllItems();
  store.synchronize();
  EXPECT_EQ(items(), Texts{"t/a/-=2"});
}

TEST_F(UICKeyChainStoreTest, writesThatFailAreForgotten) {
  Store store("s", "g");
  store.setString("value", "key");
  host.keychain.setRefuses(true);
  store.synchronize();
  host.keychain.setRefuses(false);
  EXPECT_TRUE(store.itemsToUpdate().empty());
  store.synchronize();
  EXPECT_EQ(items(), Texts());
}

TEST_F(UICKeyChainStoreTest, theDescriptionTellsEveryItem) {
  Store store("s");
  const std::string none = store.description();
  Store::setString("value", "key", "s");
  Store::setData(Data{0xFF, 0x01}, "raw", "s");
  const std::string description = store.description();
  EXPECT_NE(description, none);
  for (const char* part : {"Service = s", "Account = key", "Value = value", "Account = raw", "ff01"}) {
    EXPECT_NE(description.find(part), std::string::npos) << part << " in " << description;
  }
}

}  // namespace
}  // namespace lumora::tests
