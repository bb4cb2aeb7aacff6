#include "lumora/Platform/Keychain.h"

#include <gtest/gtest.h>

#include <numeric>

#include "lumora/Platform/Linux/LinuxKeychain.h"
#include "lumora/Testing/FakeKeychain.h"
#include "tests/Support/TemporaryFolder.h"

namespace lumora::testing {
namespace {

class FakeHost {
 public:
  Keychain& keychain() { return keychain_; }

 private:
  FakeKeychain keychain_;
};

class LinuxHost {
 public:
  Keychain& keychain() { return keychain_; }

 private:
  TemporaryFolder folder_;
  LinuxKeychain keychain_{folder_ / "private/keychain"};
};

template <typename Host>
class KeychainTest : public ::testing::Test {
 protected:
  Keychain& keychain() { return host_.keychain(); }

  /// The values of the matching items, one letter each, in the keychain's order.
  std::string valuesOf(const KeychainQuery& query) {
    std::vector<KeychainItem> items;
    keychain().copyAllMatching(query, items);
    std::string values;
    for (const KeychainItem& item : items) values.append(item.value.begin(), item.value.end());
    return values;
  }

 private:
  Host host_;
};

using Hosts = ::testing::Types<FakeHost, LinuxHost>;
TYPED_TEST_SUITE(KeychainTest, Hosts);

KeychainItem item(std::string service, std::string key, std::optional<std::string> group, char value) {
  return {std::move(service), key, key, std::move(group), {}, Data{static_cast<std::uint8_t>(value)}};
}

KeychainQuery query(std::optional<std::string> service, std::optional<std::string> key = {},
                    std::optional<std::string> group = {}) {
  return {std::move(service), key, key, std::move(group)};
}

const std::vector<KeychainItem> kItems = {item("s", "k", {}, 'a'), item("s", "l", {}, 'b'),
                                          item("t", "k", {}, 'c'), item("s", "k", "g", 'd'),
                                          item("s", "k", "", 'e')};

TYPED_TEST(KeychainTest, AnItemMatchesWhenItCarriesEveryGivenAttribute) {
  for (const KeychainItem& added : kItems) ASSERT_EQ(this->keychain().add(added), KeychainStatus::success);
  const std::vector<std::pair<KeychainQuery, std::string>> cases = {
      {query({}), "abcde"},           {query("s"), "abde"},       {query("s", "k"), "ade"},
      {query("s", "k", "g"), "d"},    {query("s", "k", ""), "e"}, {query({}, {}, "g"), "d"},
      {query({}, "k"), "acde"},       {query("unknown"), ""},     {query(""), ""},
      {query("s", "k", "other"), ""}, {{"s", "k", "l", {}}, ""},
  };
  for (std::size_t i = 0; i < cases.size(); ++i) {
    EXPECT_EQ(this->valuesOf(cases[i].first), cases[i].second) << "case " << i;
    KeychainItem found;
    const KeychainStatus status = this->keychain().copyMatching(cases[i].first, &found);
    ASSERT_EQ(status, cases[i].second.empty() ? KeychainStatus::itemNotFound : KeychainStatus::success)
        << "case " << i;
    if (status == KeychainStatus::success) {
      EXPECT_EQ(found.value.front(), cases[i].second.front()) << "case " << i;
    }
  }
  EXPECT_EQ(this->keychain().copyMatching(query("s"), nullptr), KeychainStatus::success);
}

TYPED_TEST(KeychainTest, ServiceAccountAndGroupAreUniqueTogether) {
  for (const KeychainItem& added : kItems) ASSERT_EQ(this->keychain().add(added), KeychainStatus::success);
  for (KeychainItem again : kItems) {
    again.generic = "another";
    again.value = {'x'};
    EXPECT_EQ(this->keychain().add(again), KeychainStatus::failure);
  }
  EXPECT_EQ(this->valuesOf({}), "abcde");
}

TYPED_TEST(KeychainTest, UpdatesAndRemovesEveryMatchAndNothingElse) {
  for (const KeychainItem& added : kItems) ASSERT_EQ(this->keychain().add(added), KeychainStatus::success);
  EXPECT_EQ(this->keychain().update(query("s", "k"), {'x'}), KeychainStatus::success);
  EXPECT_EQ(this->valuesOf({}), "xbcxx");
  EXPECT_EQ(this->keychain().update(query("unknown"), {'y'}), KeychainStatus::itemNotFound);
  EXPECT_EQ(this->keychain().remove(query("s", "k", "g")), KeychainStatus::success);
  EXPECT_EQ(this->keychain().remove(query("s", "k", "g")), KeychainStatus::itemNotFound);
  EXPECT_EQ(this->valuesOf({}), "xbcx");
  EXPECT_EQ(this->keychain().remove(query("s")), KeychainStatus::success);
  EXPECT_EQ(this->valuesOf({}), "c");
}

TYPED_TEST(KeychainTest, KeepsArbitraryBytes) {
  std::string everyByte(256, '\0');
  std::iota(everyByte.begin(), everyByte.end(), '\0');
  const KeychainItem added{everyByte + "s",
                           everyByte + "g",
                           everyByte + "a",
                           everyByte,
                           {},
                           Data(everyByte.begin(), everyByte.end())};
  ASSERT_EQ(this->keychain().add(added), KeychainStatus::success);
  KeychainItem found;
  ASSERT_EQ(
      this->keychain().copyMatching({added.service, added.generic, added.account, added.accessGroup}, &found),
      KeychainStatus::success);
  EXPECT_EQ(found.service, added.service);
  EXPECT_EQ(found.generic, added.generic);
  EXPECT_EQ(found.account, added.account);
  EXPECT_EQ(found.accessGroup, added.accessGroup);
  EXPECT_EQ(found.value, added.value);
}

TYPED_TEST(KeychainTest, AnEmptyKeychainFindsNothing) {
  std::vector<KeychainItem> items(1);
  EXPECT_EQ(this->keychain().copyMatching({}, nullptr), KeychainStatus::itemNotFound);
  EXPECT_EQ(this->keychain().copyAllMatching({}, items), KeychainStatus::itemNotFound);
  EXPECT_TRUE(items.empty());
  EXPECT_EQ(this->keychain().update({}, {}), KeychainStatus::itemNotFound);
  EXPECT_EQ(this->keychain().remove({}), KeychainStatus::itemNotFound);
}

}  // namespace
}  // namespace lumora::testing
