#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>
#include <fstream>
#include <string>
#include <vector>

#include "tests/Support/TemporaryFolder.h"
#include "tests/end_to_end/HostProcess.h"

namespace lumora_end_to_end {
namespace {

using lumora::testing::TemporaryFolder;

struct RefusedOptions {
  const char* name;
  std::vector<std::string> words;
};

void PrintTo(const RefusedOptions& options, std::ostream* out) {
  *out << testing::PrintToString(options.words);
}

class RefusedOptionsTest : public testing::TestWithParam<RefusedOptions> {};

TEST_P(RefusedOptionsTest, EndsWith64AndOneLine) {
  const TemporaryFolder folder;
  std::ofstream(folder / "file") << "a file";
  std::vector<std::string> command{LUMORA_HOST_PROGRAM};
  for (std::string word : GetParam().words) {
    if (const auto at = word.find("FOLDER"); at != std::string::npos) word.replace(at, 6, folder.path());
    command.push_back(word);
  }
  Process process(command);
  process.closeInput();
  EXPECT_EQ(process.readLine(), std::nullopt);
  EXPECT_EQ(process.waitForEnd(), 64);
  const std::string errors = process.errorText();
  EXPECT_EQ(std::count(errors.begin(), errors.end(), '\n'), 1) << errors;
  EXPECT_TRUE(errors.ends_with('\n')) << errors;
}

INSTANTIATE_TEST_SUITE_P(
    HostOptions, RefusedOptionsTest,
    testing::Values(
        RefusedOptions{"NoData", {}}, RefusedOptions{"EmptyData", {"--data", ""}},
        RefusedOptions{"DataWithoutValue", {"--data"}},
        RefusedOptions{"DataIsAFile", {"--data", "FOLDER/file"}},
        RefusedOptions{"DataUnderAFile", {"--data", "FOLDER/file/data"}},
        RefusedOptions{"UnknownOption", {"--data", "FOLDER/data", "--verbose", "1"}},
        RefusedOptions{"BareWord", {"--data", "FOLDER/data", "commands"}},
        RefusedOptions{"UnknownState", {"--data", "FOLDER/data", "--state", "asleep"}},
        RefusedOptions{"StateInCapitals", {"--data", "FOLDER/data", "--state", "Active"}},
        RefusedOptions{"ConnectWithoutPort", {"--data", "FOLDER/data", "--connect", "127.0.0.1"}},
        RefusedOptions{"ConnectPortTooHigh", {"--data", "FOLDER/data", "--connect", "127.0.0.1:65536"}},
        RefusedOptions{"ConnectPortZero", {"--data", "FOLDER/data", "--connect", "127.0.0.1:0"}},
        RefusedOptions{"ConnectPortNoNumber", {"--data", "FOLDER/data", "--connect", "127.0.0.1:80x"}},
        RefusedOptions{"ConnectWithoutHost", {"--data", "FOLDER/data", "--connect", ":443"}},
        RefusedOptions{"EmptyLanguages", {"--data", "FOLDER/data", "--languages", ""}},
        RefusedOptions{"EmptyLanguage", {"--data", "FOLDER/data", "--languages", "en,,fr"}},
        RefusedOptions{"MissingAuthorities", {"--data", "FOLDER/data", "--ca", "FOLDER/none"}},
        RefusedOptions{"MissingResources", {"--data", "FOLDER/data", "--resources", "FOLDER/none"}},
        RefusedOptions{"MissingScript", {"--data", "FOLDER/data", "--script", "FOLDER/none"}}),
    [](const auto& test) { return test.param.name; });

TEST(HostOptionsTest, TheLastOfAnOptionHolds) {
  const TemporaryFolder folder;
  HostProcess host(folder.path(), {"--machine", "first,1", "--machine", "second,2"});
  EXPECT_EQ(host.result("model-name"), "second,2");
  EXPECT_EQ(host.quit(), 0);
}

TEST(HostOptionsTest, MakesTheDataFolderForTheOwnerAlone) {
  const TemporaryFolder folder;
  HostProcess host(folder.path());
  struct stat status {};
  ASSERT_EQ(::stat(HostProcess::dataFolder(folder.path()).c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 07777, 0700U);
  EXPECT_EQ(host.quit(), 0);
}

TEST(HostOptionsTest, AKeychainThatCannotBeWrittenIsNoError) {
  const TemporaryFolder folder;
  std::ofstream(folder / "file") << "a file";
  const std::vector<std::string> keychains{folder / "file/keychain", folder.path(), ""};
  for (const std::string& keychain : keychains) {
    SCOPED_TRACE(keychain);
    HostProcess host(folder.path(), {"--keychain", keychain});
    EXPECT_FALSE(host.result("device-id").get<std::string>().empty());
    EXPECT_EQ(host.quit(), 0);
  }
}

TEST(HostOptionsTest, RunsAScriptAndCountsItsLines) {
  const TemporaryFolder folder;
  std::ofstream(folder / "script") << "# a comment\n\n  \t\nset-setting a 1\nnonsense\nsetting a";
  Process process(hostCommand(folder.path(), {"--script", folder / "script"}));
  const Lines lines = readToEnd(process);
  ASSERT_EQ(lines.size(), 4U);
  EXPECT_EQ(lines[0], (nlohmann::json{{"ready", true}}));
  EXPECT_EQ(lines[1], (nlohmann::json{{"done", "set-setting"}}));
  EXPECT_EQ(lines[2]["line"], 5);
  EXPECT_EQ(lines[3], (nlohmann::json{{"done", "setting"}, {"result", 1}}));
  EXPECT_EQ(process.waitForEnd(), 1);
}

}  // namespace
}  // namespace lumora_end_to_end
