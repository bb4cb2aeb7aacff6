#include <functional>

#include "lumora/Facade/LumoraActionMetaData.h"
#include "lumora/Facade/LumoraLead.h"
#include "tests/Facade/LumoraFixture.h"

namespace lumora::tests {
namespace {

using Text = std::optional<std::string>;
using Lead = LumoraLead;
using MetaData = LumoraActionMetaData;

struct Maps {
  static std::string of(const Lead& lead) { return writeJSON(lead.userData()).value(); }
  static std::string of(const MetaData& metaData) { return writeJSON(metaData.actionMetadata()).value(); }
};

/// A setter stores texts under its key alone, keeps the last one, and ignores empty ones.
template <typename Record, typename Set>
void expectTextSetter(const std::string& key, Set set) {
  Record record;
  for (const Text& text : {Text("first"), Text(" second "), Text(""), Text()}) set(record, text);
  EXPECT_EQ(Maps::of(record), R"({")" + key + R"(":" second "})");
}

TEST(LumoraLeadTest, everySetterHasItsKeyAndTheMapIsReplacedAsAWhole) {
  const std::pair<const char*, void (Lead::*)(const Text&)> setters[] = {
      {"gender", &Lead::setGender},
      {"firstName", &Lead::setFirstName},
      {"lastName", &Lead::setLastName},
      {"address", &Lead::setAddress},
      {"city", &Lead::setCity},
      {"state", &Lead::setState},
      {"country", &Lead::setCountry},
      {"postalCode", &Lead::setPostalCode},
      {"leadSource", &Lead::setLeadSource},
      {"facebookId", &Lead::setFacebookId},
      {"twitterId", &Lead::setTwitterId},
      {"linkedInId", &Lead::setLinkedInId},
      {"dateOfBirth", &Lead::setBirthDay},
      {"facebookProfileURL", &Lead::setFacebookProfileURL},
      {"facebookPhotoURL", &Lead::setFacebookProfilePicURL}};
  for (const auto& [key, setter] : setters) expectTextSetter<Lead>(key, std::mem_fn(setter));
  expectTextSetter<Lead>("plan", [](Lead& lead, const Text& text) { lead.setFieldName("plan", text); });
  expectTextSetter<Lead>("plan", [](Lead& lead, const Text& text) { lead.setKey("plan", text); });
  Lead lead;
  for (const Text& name : {Text(""), Text()}) lead.setFieldName(name, "gold"), lead.setKey(name, "gold");
  for (const Text& noAddress : {Text("ada@example"), Text("")}) lead.setEmail(noAddress);
  EXPECT_EQ(Maps::of(lead), "{}");
  for (const Text& email : {Text("ada@example.com"), Text("ada"), Text()}) lead.setEmail(email);
  EXPECT_EQ(Maps::of(lead), R"({"email":"ada@example.com"})");
  lead.setUserAttributes({{"state", "x"}});
  EXPECT_EQ(Maps::of(lead), R"({"state":"x"})");
}

TEST(LumoraActionMetaDataTest, everySetterHasItsKeyAndTheMapIsReplacedAsAWhole) {
  expectTextSetter<MetaData>("Action Type", [](MetaData& m, const Text& text) { m.setType(text); });
  expectTextSetter<MetaData>("Action Details", [](MetaData& m, const Text& text) { m.setDetails(text); });
  expectTextSetter<MetaData>("own", [](MetaData& m, const Text& text) { m.setKey("own", text); });
  MetaData metaData;
  for (const Text& key : {Text(""), Text()}) metaData.setKey(key, "value");
  metaData.setMetric(nullptr);
  EXPECT_EQ(Maps::of(metaData), "{}");
  metaData.setMetric(-2.5);
  metaData.setLength(9007199254740993LL);
  metaData.setLength(nullptr);
  EXPECT_EQ(Maps::of(metaData), R"({"Action Length":9007199254740993,"Action Metric":-2.5})");
  metaData.setActionMetadata({{"own", 1}});
  EXPECT_EQ(Maps::of(metaData), R"({"own":1})");
}

}  // namespace
}  // namespace lumora::tests
