#include <array>

#include "lumora/Facade/LMRSecuritySignature.h"
#include "lumora/Util/LMRUtil.h"
#include "tests/Facade/LumoraFixture.h"

namespace lumora::tests {
namespace {

constexpr const char* missingSignature =
    "LumoraSDK-App is in Secure mode but could not found valid Security Token , Please set valid Security "
    "Signature using [[Lumora sharedInstance] setSecureSignature] .";
constexpr const char* removedLine = "LumoraSDK-Removed secured signature.";

using Fields = std::array<std::optional<std::string>, 4>;

class SecureModeTest : public LumoraTest {
 protected:
  static auto signature(const Fields& fields = {"key", "sign", "1", "a@b.co"}) {
    return LMRSecuritySignature::initWithAccessKey(fields[0], fields[1], fields[2], fields[3]);
  }
};

TEST_F(SecureModeTest, theFirstBadFieldIsLogged) {
  const std::map<std::string, Fields> cases{{" Nil or Emplty AccessKey", {std::nullopt, "", "", ""}},
                                            {"Nil or Emplty Time Stamp", {"k", "", std::nullopt, ""}},
                                            {"Nil or Emplty Signature", {"k", "", "1", ""}},
                                            {"Nil or Emplty Email", {"k", "s", "1", std::nullopt}},
                                            {"Invalid Email", {"k", "s", "1", "a@b"}}};
  for (const auto& [fault, fields] : cases) {
    forget();
    EXPECT_EQ(signature(fields), nullptr) << fault;
    EXPECT_EQ(log().at(0), "LumoraSDK-" + fault + " in security Token .");
    EXPECT_EQ(log().at(1), "LumoraSDK-Faild to create Lumora Config, Please check the credentials");
  }
}

TEST_F(SecureModeTest, anArchiveOfOtherKindsGivesNoSignature) {
  const std::string_view wrongKinds = R"({"accessKey":"k","signature":"s","timeStamp":1,"email":[]})";
  host.settings.setObject("lmro.secureToken", Data(wrongKinds.begin(), wrongKinds.end()));
  EXPECT_EQ(LMRUtil::getSecureSignature(), nullptr);
}

TEST_F(SecureModeTest, queryIsEscapedAsAWhole) {
  host.settings.setObject("lmro.secureMode", true);
  lumora().setSecureSignature(signature({"+@&=?/: %20", "<>[]{}#\"|\\^`", "é€\n\x01\x7F", "a+b %#é@b.co"}));
  EXPECT_EQ(logger().getReportEndPoint(),
            "report/events/?ak=+@&=?/:%20%2520&sign=%3C%3E%5B%5D%7B%7D%23%22%7C%5C%5E%60&ts=%C3%A9%E2%82%AC"
            "%0A%01%7F&email=a+b%20%25%23%C3%A9@b.co");
}

TEST_F(SecureModeTest, uploadsWaitForASignature) {
  syncAnswer = R"({"success":true,"config":{"secure_mode":true}})";
  initializeAndRun();
  EXPECT_EQ(log().back(), missingSignature);
  EXPECT_EQ(logger().getReportEndPoint(), std::nullopt);
  EXPECT_EQ(host.log.count(missingSignature), 2U);
  EXPECT_EQ(setting("lmro.LastReport"), "absent");
  EXPECT_EQ(requests(), Texts{"GET /api/v1/sync/secret?lst=0"});
  forget();
  lumora().setSecureSignature(signature());
  EXPECT_EQ(requests(), Texts{"POST /report/events/?ak=key&sign=sign&ts=1&email=a@b.co"});
  EXPECT_EQ(log().at(0), removedLine);
  EXPECT_EQ(log().at(1), "LumoraSDK-setting secured signature.");
  forget();
  lumora().setSecureSignature(nullptr);
  EXPECT_EQ(log(), Texts{removedLine});
  EXPECT_TRUE(host.settings.flushedValues().contains("lmro.secureToken"));  // The removal is not flushed.
  syncAnswer = R"({"success":true,"config":{}})";
  advance(10);
  lumora().appWillEnterForeground();
  lumora().reportAction("plain");
  host.queues.runAll();
  EXPECT_EQ(requests().back(), "POST /report/events/");
}

}  // namespace
}  // namespace lumora::tests
