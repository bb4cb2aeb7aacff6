#include <gtest/gtest.h>

#include "lumora/Platform/Linux/Files/LinuxKeychain.h"
#include "lumora/Testing/FakeKeychain.h"
#include "tests/Support/TemporaryFolder.h"
#include "tests/Support/TestFiles.h"

namespace lumora::testing {
namespace {

using Status = KeychainStatus;
using Text = std::optional<std::string>;

KeychainItem item(const std::string& service, const std::string& key, const Text& group, char value) {
  return {service, key, key, group, {}, Data{static_cast<std::uint8_t>(value)}};
}

KeychainQuery query(const Text& service, const Text& key = {}, const Text& group = {}) {
  return {service, key, key, group};
}

/// The values of the matching items, one letter each, in the keychain's order.
std::string valuesOf(Keychain& keychain, const KeychainQuery& query) {
  std::vector<KeychainItem> items(1);
  EXPECT_EQ(keychain.copyAllMatching(query, items), keychain.copyMatching(query, nullptr));
  std::string values;
  for (const KeychainItem& item : items) values.append(item.value.begin(), item.value.end());
  return values;
}

struct TemporaryLinuxKeychain : TemporaryFolder, LinuxKeychain {
  TemporaryLinuxKeychain() : LinuxKeychain(*this / "private/keychain") {}
};

template <typename Implementation>
struct KeychainTest : ::testing::Test {
  KeychainTest() {
    for (const KeychainItem& added : items) EXPECT_EQ(keychain.add(added), Status::success);
  }
  Implementation keychain;
  // clang-format off
  const std::vector<KeychainItem> items = {
      item("s", "k", {}, 'a'), item("s", "l", {}, 'b'), item("t", "k", {}, 'c'), item("s", "k", "g", 'd'), item("s", "k", "", 'e')};
  // clang-format on
};

using Keychains = ::testing::Types<FakeKeychain, TemporaryLinuxKeychain>;
TYPED_TEST_SUITE(KeychainTest, Keychains);

TYPED_TEST(KeychainTest, AnItemMatchesWhenItCarriesEveryGivenAttribute) {
  // clang-format off
  const std::pair<KeychainQuery, std::string> cases[] = {
      {query({}), "abcde"}, {query("s"), "abde"}, {query("s", "k"), "ade"}, {query("s", "k", "g"), "d"},
      {query("s", "k", ""), "e"}, {query({}, {}, "g"), "d"}, {query(""), ""}, {query("s", "k", "other"), ""},
      {{"s", "k", "l", {}}, ""}};
  // clang-format on
  for (const auto& [asked, values] : cases) {
    SCOPED_TRACE(asked.service.value_or("-") + asked.account.value_or("-") + asked.accessGroup.value_or("-"));
    EXPECT_EQ(valuesOf(this->keychain, asked), values);
    KeychainItem found;
    EXPECT_EQ(this->keychain.copyMatching(asked, &found) == Status::success, !values.empty());
    EXPECT_EQ(std::string(found.value.begin(), found.value.end()), values.substr(0, 1));
  }
}

TYPED_TEST(KeychainTest, AddsOnceAndUpdatesAndRemovesEveryMatch) {
  for (KeychainItem again : this->items) {
    again.generic = "another";
    again.value = {'x'};
    EXPECT_EQ(this->keychain.add(again), Status::failure) << "service, account and group are unique together";
  }
  EXPECT_EQ(this->keychain.update(query("s", "k"), {'x'}), Status::success);
  EXPECT_EQ(valuesOf(this->keychain, {}), "xbcxx");
  EXPECT_EQ(this->keychain.update(query("unknown"), {'y'}), Status::itemNotFound);
  EXPECT_EQ(this->keychain.remove(query("s", "k", "g")), Status::success);
  EXPECT_EQ(this->keychain.remove(query("s", "k", "g")), Status::itemNotFound);
  EXPECT_EQ(this->keychain.remove(query("s")), Status::success);
  EXPECT_EQ(valuesOf(this->keychain, {}), "c");
}

TEST(LinuxKeychainTest, SeesWhatOthersChange) {
  TemporaryLinuxKeychain keychain;
  ASSERT_EQ(keychain.add(item("s", "k", {}, 'a')), Status::success);
  EXPECT_EQ(LinuxKeychain(keychain / "private/keychain").update({}, {'b'}), Status::success);
  EXPECT_EQ(valuesOf(keychain, {}), "b");
  // The same file with another content of the same size, a moment later.
  const std::string path = keychain / "private/keychain";
  const auto changed = std::filesystem::last_write_time(path);
  std::string text = readFile(path);
  writeFile(path, text.replace(text.find("Yg=="), 2, "Yw"));
  std::filesystem::last_write_time(path, changed + std::chrono::nanoseconds(1));
  EXPECT_EQ(valuesOf(keychain, {}), "c");
}

}  // namespace
}  // namespace lumora::testing
