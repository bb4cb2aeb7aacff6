#include <functional>

#include "lumora/Facade/LumoraActionMetaData.h"
#include "lumora/Facade/LumoraLead.h"
#include "tests/Facade/LumoraFixture.h"

namespace lumora::tests {
namespace {

using Text = std::optional<std::string>;

std::string mapOf(const LumoraLead& lead) {
  return writeJSON(lead.userData()).value();
}

std::string mapOf(const LumoraActionMetaData& metaData) {
  return writeJSON(metaData.actionMetadata()).value();
}

/// A setter stores texts under its key alone, keeps the last one, and ignores empty ones.
template <typename Record>
void expectTextSetter(const char* key, const std::function<void(Record&, const Text&)>& set) {
  Record record;
  set(record, std::nullopt);
  set(record, "");
  EXPECT_EQ(mapOf(record), "{}") << key;
  set(record, "first");
  set(record, " second ");
  set(record, "");
  set(record, std::nullopt);
  EXPECT_EQ(mapOf(record), std::string(R"({")") + key + R"(":" second "})");
}

TEST(LumoraLeadTest, everySetterHasItsKey) {
  const std::pair<const char*, void (LumoraLead::*)(const Text&)> setters[] = {
      {"gender", &LumoraLead::setGender},
      {"firstName", &LumoraLead::setFirstName},
      {"lastName", &LumoraLead::setLastName},
      {"address", &LumoraLead::setAddress},
      {"city", &LumoraLead::setCity},
      {"state", &LumoraLead::setState},
      {"country", &LumoraLead::setCountry},
      {"postalCode", &LumoraLead::setPostalCode},
      {"leadSource", &LumoraLead::setLeadSource},
      {"facebookId", &LumoraLead::setFacebookId},
      {"twitterId", &LumoraLead::setTwitterId},
      {"linkedInId", &LumoraLead::setLinkedInId},
      {"dateOfBirth", &LumoraLead::setBirthDay},
      {"facebookProfileURL", &LumoraLead::setFacebookProfileURL},
      {"facebookPhotoURL", &LumoraLead::setFacebookProfilePicURL},
  };
  for (const auto& [key, setter] : setters) {
    expectTextSetter<LumoraLead>(
        key, [setter = setter](LumoraLead& lead, const Text& text) { (lead.*setter)(text); });
  }
  expectTextSetter<LumoraLead>("plan",
                               [](LumoraLead& lead, const Text& text) { lead.setFieldName("plan", text); });
  expectTextSetter<LumoraLead>("plan", [](LumoraLead& lead, const Text& text) { lead.setKey("plan", text); });
}

TEST(LumoraLeadTest, fieldNeedsAName) {
  LumoraLead lead;
  lead.setFieldName("", "gold");
  lead.setFieldName(std::nullopt, "gold");
  lead.setKey("", "gold");
  EXPECT_EQ(mapOf(lead), "{}");
  lead.setFieldName(" ", "gold");
  EXPECT_EQ(mapOf(lead), R"({" ":"gold"})");
}

TEST(LumoraLeadTest, onlyAddressesAreTakenAsEmail) {
  const struct {
    Text email;
    const char* stored;
  } cases[] = {
      {"ada", "{}"},
      {"ada@example", "{}"},
      {"@example.com", "{}"},
      {"", "{}"},
      {std::nullopt, "{}"},
      {"ada@example.com", R"({"email":"ada@example.com"})"},
      {"ada@example", R"({"email":"ada@example.com"})"},
      {"", R"({"email":"ada@example.com"})"},
      {" a b @example.co.uk", R"({"email":" a b @example.co.uk"})"},
  };
  LumoraLead lead;
  for (const auto& test : cases) {
    lead.setEmail(test.email);
    EXPECT_EQ(mapOf(lead), test.stored) << test.email.value_or("(null)");
  }
}

TEST(LumoraLeadTest, attributesAreReplacedAsAWhole) {
  LumoraLead lead;
  lead.setCity("Paris");
  lead.setUserAttributes({{"state", "x"}});
  EXPECT_EQ(mapOf(lead), R"({"state":"x"})");
  lead.setCity("Rome");
  EXPECT_EQ(mapOf(lead), R"({"city":"Rome","state":"x"})");
  EXPECT_EQ(Value(lead.userAttributes()), Value(lead.userData()));
}

TEST(LumoraActionMetaDataTest, everyTextSetterHasItsKey) {
  using MetaData = LumoraActionMetaData;
  expectTextSetter<MetaData>("Action Type", [](MetaData& m, const Text& text) { m.setType(text); });
  expectTextSetter<MetaData>("Action Details", [](MetaData& m, const Text& text) { m.setDetails(text); });
  expectTextSetter<MetaData>("own", [](MetaData& m, const Text& text) { m.setKey("own", text); });
  MetaData metaData;
  metaData.setKey("", "value");
  EXPECT_EQ(mapOf(metaData), "{}");
}

TEST(LumoraActionMetaDataTest, numbersAreRefusedOnlyWhenMissing) {
  const std::pair<Value, const char*> cases[] = {
      {nullptr, "{}"},         {0, R"({"K":0})"},          {-2.5, R"({"K":-2.5})"},
      {true, R"({"K":true})"}, {nullptr, R"({"K":true})"}, {9007199254740993LL, R"({"K":9007199254740993})"},
  };
  LumoraActionMetaData metrics;
  LumoraActionMetaData lengths;
  const auto named = [](std::string text, const char* key) {
    const auto at = text.find('K');
    return at == std::string::npos ? text : text.replace(at, 1, key);
  };
  for (const auto& [number, stored] : cases) {
    metrics.setMetric(number);
    lengths.setLength(number);
    EXPECT_EQ(mapOf(metrics), named(stored, "Action Metric")) << number.description();
    EXPECT_EQ(mapOf(lengths), named(stored, "Action Length")) << number.description();
  }
}

TEST(LumoraActionMetaDataTest, detailsAreReplacedAsAWhole) {
  LumoraActionMetaData metaData;
  metaData.setType("purchase");
  metaData.setActionMetadata({{"own", 1}});
  EXPECT_EQ(mapOf(metaData), R"({"own":1})");
}

}  // namespace
}  // namespace lumora::tests
