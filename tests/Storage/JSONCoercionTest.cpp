#include <gtest/gtest.h>

#include <cmath>

#include "lumora/Platform/JSON.h"
#include "lumora/Storage/LMRDataManager.h"
#include "lumora/Testing/FakePlatform.h"

namespace lumora::tests {
namespace {

class JSONCoercionTest : public ::testing::Test {
 protected:
  static Date dateAt(long long microseconds) { return Date(std::chrono::microseconds(microseconds)); }
  Value coerced(const Value& input) { return store.JSONSerializableObjectForObject(input); }

  testing::FakePlatform& host = testing::FakePlatform::install();
  LMRDataManager& store = LMRDataManager::sharedInstance();
};

TEST_F(JSONCoercionTest, whatIsNotJSONBecomesText) {
  const Value image = Value::Opaque{"Image", "an image"};
  const Value url = *URL::parse("https://a.b/c?d#e");
  const MixedMap numberFirst{{1, url}, {"1", Data{0x0A, 0xFF}}, {"b", url}};
  const MixedMap numberLast{{"1", "earlier"}, {1, "later"}, {image, image}, {Value(), MixedMap{{true, 2}}}};
  const Value input = List{"text", 2.5, Value(), false, Dictionary{{"a", numberFirst}}, numberLast};
  EXPECT_EQ(writeJSON(coerced(input)),
            R"(["text",2.5,null,false,{"a":{"1":"<0aff>","b":"https://a.b/c?d#e"}},)"
            R"({"1":"later","<null>":{"1":2},"an image":"an image"}])");
  const auto lines = host.log.messages();
  const std::string start = "LumoraSDK-<LMRDataManager> warning: property ";
  ASSERT_EQ(lines.size(), 7U);
  EXPECT_EQ(lines[0], start + "keys should be strings. got: number. coercing to: 1");
  EXPECT_EQ(lines[1], start + "values should be valid json types. got: data. coercing to: <0aff>");
  EXPECT_EQ(input.asList()->back(), Value(numberLast));  // As it was.
}

TEST_F(JSONCoercionTest, datesAreInUTCWithThreeDigits) {
  const std::map<long long, std::string> texts{{1456790399999999, "2016-02-29T23:59:59.999Z"},
                                               {-1, "1969-12-31T23:59:59.999Z"},
                                               {5000, "1970-01-01T00:00:00.005Z"}};
  for (const auto& [moment, text] : texts) EXPECT_EQ(coerced(dateAt(moment)), Value(text)) << moment;
  // The calendar ends with the year 32767; what lies beyond gives some text, and no exception.
  EXPECT_NO_THROW(coerced(dateAt(971890963200000000)));
}

TEST_F(JSONCoercionTest, whatStillCannotBeWrittenIsLogged) {
  EXPECT_EQ(store.JSONSerializeObject(MixedMap{{2, List{Value(), "é"}}}), R"({"2":[null,"é"]})");
  for (const Value& bad :
       {Value("text"), Value(7), Value(), Value(dateAt(0)), Value(List{std::nan("")}), Value(List{"\xFF"})}) {
    host.log.clear();
    EXPECT_EQ(store.JSONSerializeObject(bad), std::nullopt) << bad.description();
    EXPECT_NE(host.log.messages().at(0).find(" encoding api data: "), std::string::npos);
  }
}

TEST_F(JSONCoercionTest, whatIsNestedDeeperThanJSONIsNullWithItsLine) {
  Value value(List{});
  for (int depth = 1; depth <= 20000; ++depth) {
    if (depth == 512 || depth == 513 || depth == 20000) {
      host.log.clear();
      EXPECT_EQ(coerced(value).isNull(), depth > 512) << depth;
      EXPECT_EQ(store.JSONSerializeObject(value).has_value(), depth <= 512) << depth;
      EXPECT_EQ(host.log.count(
                    "LumoraSDK-<LMRDataManager> error encoding api data: the value is nested too deeply"),
                depth > 512 ? 2U : 0U);
    }
    value = depth % 3 == 0   ? Value(Dictionary{{"a", value}})
            : depth % 3 == 1 ? Value(MixedMap{{"a", value}})
                             : List{value};
  }
}

}  // namespace
}  // namespace lumora::tests
