#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/Support/TemporaryFolder.h"
#include "tests/end_to_end/HostProcess.h"

namespace lumora_end_to_end {
namespace {

using lumora::testing::TemporaryFolder;

using nlohmann::json;

TEST(HostSettingsTest, ValuesComeBackAsTheyWereWritten) {
  const std::vector<std::string> values{
      R"("text")",
      R"("")",
      R"("zażółć 😀")",
      "0",
      "-7",
      "9223372036854775807",
      "1.5",
      "true",
      "false",
      R"({"date":0})",
      R"({"date":-86400})",
      R"({"date":1500000000.25})",
      R"({"base64":""})",
      R"({"base64":"AA=="})",
      R"({"base64":"AP8="})",
      R"({"base64":"AP/+"})",
      R"([1,"two",{"base64":"AAEC"},[]])",
      R"({"a":{"date":5},"b":{"base64":"AAEC"},"c":{}})",
  };
  const TemporaryFolder folder;
  {
    HostProcess host(folder.path());
    EXPECT_EQ(host.run("setting never").back(), (json{{"done", "setting"}, {"result", nullptr}}));
    for (std::size_t i = 0; i < values.size(); ++i) {
      host.result("set-setting key" + std::to_string(i) + " '" + values[i] + "'");
    }
    host.process().sendSignal(SIGKILL);  // What a command wrote was flushed.
    EXPECT_EQ(host.process().waitForEnd(), 128 + SIGKILL);
  }
  HostProcess host(folder.path());
  for (std::size_t i = 0; i < values.size(); ++i) {
    SCOPED_TRACE(values[i]);
    const std::string key = "key" + std::to_string(i);
    const json expected = json::parse(values[i]);
    const json actual = host.result("setting " + key);
    EXPECT_EQ(actual, expected);
    EXPECT_EQ(actual.type_name(), std::string(expected.type_name()));
    host.result("remove-setting " + key);
    EXPECT_EQ(host.result("setting " + key), json());
  }
  EXPECT_EQ(host.quit(), 0);
}

TEST(HostSettingsTest, RemovingTheDataFolderRemovesTheApplication) {
  const TemporaryFolder folder;
  std::string identifier;
  {
    HostProcess host(folder.path());
    host.result("set-setting key 1");
    identifier = host.result("device-id");
    EXPECT_EQ(host.result("device-id"), identifier);
    EXPECT_EQ(host.quit(), 0);
  }
  std::filesystem::remove_all(HostProcess::dataFolder(folder.path()));
  HostProcess host(folder.path());
  EXPECT_EQ(host.result("setting key"), json());
  EXPECT_NE(host.result("device-id"), identifier);
  EXPECT_EQ(host.quit(), 0);
}

}  // namespace
}  // namespace lumora_end_to_end
