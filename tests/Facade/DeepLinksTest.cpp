#include "lumora/Util/UIDeviceAdditionalInfo.h"
#include "tests/Facade/LumoraFixture.h"

namespace lumora::tests {
namespace {

const std::string secretGiven = "lmro://add_test_device?secret=secret";
const std::string prompt = "101 Lumora: Add this device as Test Device? NoYes ";

class DeepLinksTest : public LumoraTest {
 protected:
  bool open(const std::string& link) { return lumora().applicationOpenURL(URL::parse(link).value()); }

  /// Takes the alerts off the display, the oldest first: tag, title, message, first and last button, field.
  Texts takeAlerts() {
    Texts texts;
    for (const Alert& alert : host.alerts.shown()) {
      texts.push_back(std::to_string(alert.tag) + " " + alert.title + ": " + alert.message + " " +
                      alert.buttons.front() + alert.buttons.back() + " " + alert.textField.value_or(""));
    }
    while (host.alerts.answer(0)) continue;
    return texts;
  }

  /// The requests of an accepted link with this token, whose prompt gets this name.
  Texts registerAs(const std::string& name, const std::string& token = "t") {
    EXPECT_TRUE(open(secretGiven + "&token=" + token));
    host.queues.runMainQueue();
    forget();
    EXPECT_TRUE(host.alerts.answer(1, name));
    host.queues.runAll();
    return requests();
  }
};

TEST_F(DeepLinksTest, refusedLinksSayWhy) {
  initialise();
  host.settings.setObject("lmro.AppSecret", "stored");
  const std::string query = "query parametere not found";
  const std::map<std::string, Texts> cases{
      {"received but lmro url scheme not found.",
       {"http://add_test_device?secret=secret", "LMRO://add_test_device?secret=secret", "lmro"}},
      {query, {"lmro://other", "lmro://other#?secret=secret"}},
      {"host not matched expected add_test_device, got (null)", {"lmro:add_test_device?secret=secret"}},
      {"host not matched expected add_test_device, got Add_test_device", {"lmro://Add_test_device?a"}},
      {"secret " + query, {"lmro://add_test_device?", "lmro://add_test_device?secret", secretGiven + "%FF"}},
      {"secretkey not matched", {secretGiven + "2&token=t", secretGiven + "&secret=&token=t"}},
      {"token " + query, {secretGiven + "&token", "lmro://add_test_device?secret=stored#&token=t"}}};
  for (const auto& [line, links] : cases) {
    std::string alert = "Deep link " + line.substr(0, line.find(" expected")) + "!";
    if (line.starts_with("secretkey")) alert = "The URL does not match this application.";
    for (const auto& link : links) {
      host.log.clear();
      EXPECT_FALSE(open(link)) << link;
      EXPECT_EQ(log(), Texts{"LumoraSDK-Deep link " + line}) << link;
      host.queues.runAll();
      EXPECT_EQ(takeAlerts(), line.ends_with('.') ? Texts() : Texts{"0 Lumora: " + alert + " OKOK "}) << link;
      EXPECT_EQ(lumora().token(), std::nullopt) << link;
    }
  }
}

TEST_F(DeepLinksTest, acceptedLinksLeaveTheirTokenAndPrompt) {
  host.settings.setObject("lmro.AppSecret", "secret");  // All there is before the first initialisation.
  const std::string megabyte(1000000, '&');
  const std::string start = "lmro://add_test_device?";
  const Texts links{start + "token=t&secret=secret",
                    start + "x&&=&secret=a&token=a&secret=secret=x&token=t=u",
                    start + "%73ecret=secret&token=a%26token%3Dt",
                    "lmro-x.1://user@add_test_device:80/path?token=t&secret=secret",
                    secretGiven + megabyte + "token=t" + megabyte};
  for (const auto& link : links) {
    EXPECT_TRUE(open(link)) << link.substr(0, 100);
    EXPECT_EQ(lumora().token(), "t") << link.substr(0, 100);
    host.queues.runAll();
  }
  EXPECT_EQ(log(), Texts(links.size(), "LumoraSDK-Deep link triggerd successfully"));
  EXPECT_EQ(takeAlerts(), Texts(links.size(), prompt + "Test device"));
}

TEST_F(DeepLinksTest, tokenServesOneNamedRequest) {
  initialise();
  for (auto [t, i] : {std::pair(101, 0), {101, 2}, {0, 1}}) lumora().alertViewClickedButtonAtIndex(t, i, "n");
  EXPECT_EQ(host.queues.pendingCount(), 0U);
  host.settings.setObject("lmro.DeviceName", "Old name");
  EXPECT_EQ(registerAs(""), Texts());
  EXPECT_EQ(log(), Texts{"LumoraSDK-Button YES was selected for add test device"});
  EXPECT_EQ(takeAlerts(), (Texts{prompt + "Old name", "0 Please enter a valid name.: Error OKOK "}));
  EXPECT_TRUE(open(secretGiven + "&token=older"));
  EXPECT_EQ(registerAs("n", "newer"), Texts{"GET /api/v1/test_device?name=n&token=newer&device_type=iPhone"});
  forget();
  host.alerts.answer(0);  // The outcome; below it is the older link's prompt, whose token is gone.
  host.alerts.answer(1, "n");
  host.queues.runAll();
  EXPECT_EQ(requests(), Texts());
}

TEST_F(DeepLinksTest, registrationPathIsEscapedAsAWhole) {
  initialise();
  const std::string name = "a&b=c?d/e+f\"My phone'\n100% #é";
  const std::string start = "GET /api/v1/test_device?name=a&b=c?d/e+f%22My%20phone'%0A100%25%20%23%C3%A9";
  const std::string end = "&token=t%20+%2525&device_type=iPhone";
  EXPECT_EQ(registerAs(name, "t%20+%2525"), Texts{start + end});
  host.settings.setObject("lmro.Token", "0aff");
  EXPECT_EQ(registerAs(name, "t%20+%2525"), Texts{start + "&push_token=0aff" + end});
}

TEST_F(DeepLinksTest, onlyASuccessIsStored) {
  initialise();
  const std::string line = " register this device as a developer test device/" +
                           UIDeviceAdditionalInfo::sharedInstance().uniqueGlobalDeviceIdentifier() + "\n";
  host.urlLoader.enqueueError(kURLErrorNotConnectedToInternet);
  for (const char* body : {R"({"success":false})", "<html>", ""}) host.urlLoader.enqueue(200, body);
  for (int i = 0; i < 4; ++i) {
    registerAs("name");
    EXPECT_EQ(logWith(line), Texts{"LumoraSDK-Failed to" + line});
    EXPECT_EQ(takeAlerts(), Texts{"0 Device not registered: This device has already been registered, or the "
                                  "device name is already used. OKOK "});
    EXPECT_EQ(setting("lmro.DeviceName") + setting("lmro.TestDevice"), "absentabsent") << i;
  }
  registerAs("name");
  EXPECT_EQ(logWith(line), Texts{"LumoraSDK- Successfully" + line});
  EXPECT_EQ(takeAlerts(), Texts{"0 Success!: This device has been successfully registered. OKOK "});
  EXPECT_EQ(setting("lmro.DeviceName") + setting("lmro.TestDevice"), "\"name\"true");
}

TEST_F(DeepLinksTest, laterLinkKeepsItsToken) {
  initialise();
  host.urlLoader.setHandler([this](const URLRequest&) {
    EXPECT_TRUE(open(secretGiven + "&token=second"));
    return URLResponse();
  });
  registerAs("name", "first");
  EXPECT_EQ(lumora().token(), "second");
}

}  // namespace
}  // namespace lumora::tests
