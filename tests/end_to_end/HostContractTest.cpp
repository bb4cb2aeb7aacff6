#include "tests/Support/TemporaryFolder.h"
#include "tests/Support/TestFiles.h"
#include "tests/end_to_end/HostProcess.h"

namespace lumora_end_to_end {
namespace {

using nlohmann::json;
using Texts = std::vector<std::string>;

class HostContractTest : public testing::Test {
 protected:
  HostProcess start(const Texts& options = {}) const { return HostProcess(folder_.path(), options); }

  const lumora::testing::TemporaryFolder folder_;
};

TEST_F(HostContractTest, SplitsWordsAsAShellDoes) {
  // The word as it is typed, and what it must mean.
  const std::vector<std::pair<std::string, std::string>> cases{
      {R"(a' 'b" "c)", "a b c"},     {R"(a\ b\\)", "a b\\"}, {R"('a"b\')", "a\"b\\"},
      {R"("a'b\c")", "a'b\\c"},      {R"("\"\\")", "\"\\"},  {R"("\$\`")", "$`"},
      {R"('nil')", "nil"},           {R"(n"il")", "nil"},    {R"(\nil)", "nil"},
      {"a#b$HOME;|*", "a#b$HOME;|*"}};
  HostProcess host = start();
  Texts expected{"init"};
  for (const auto& [word, meaning] : cases) {
    host.result("action \t" + word + "   {} ");
    expected.push_back(meaning);
  }
  host.runAll("action nil\ndrain");  // Without quotes it is no name.
  EXPECT_EQ(namesOf(storedEvents(folder_.path())), expected);
}

TEST_F(HostContractTest, RefusesLinesThatItCannotRead) {
  const std::string cases =
      "nonsense\nNONSENSE\n # indented\nsetting 'open\nsetting \"open\\\nsetting open\\\nsetting\n"
      "setting a b\nsetting nil\nset-setting a {\nset-setting a null\nset-setting a '{\"date\":\"\"}'\n"
      "set-setting a '{\"base64\":\"!\"}'\ninit account\ntimeout 1.5\ntimeout ''\nadvance -1\n"
      "timeout 99999999999999999999\nadvance nan\nadvance 1s\nstate asleep\nnetwork slow\nlead text\n"
      "end-all-sessions a b\naction a []\naction a '{\"type\":1}'\naction a '{\"metric\":\"\"}'\n"
      "action a '{\"length\":true}'\nlead '{\"email\":1}'\ndrain now\nopen-url ''\nregister-push abc\n"
      "not utf-8 \xFF\xFE\nnul ";
  HostProcess host = start();
  long number = 0;
  std::istringstream lines(cases + '\0');
  for (std::string line; std::getline(lines, line);) {
    const Lines answer = host.run(line);
    ASSERT_EQ(answer.size(), 1U) << line;
    EXPECT_FALSE(answer[0].value("error", "").empty()) << line;
    EXPECT_EQ(answer[0].value("line", 0), ++number) << line;
  }
  EXPECT_EQ(host.quit(), 1);
}

TEST_F(HostContractTest, RunsAScriptAndCountsItsLines) {
  const std::string text(1024 * 1024, 'x');
  std::ofstream(folder_ / "script") << "# comment\n\n \t\nset-setting a '\"" << text
                                    << "\"'\nnonsense\nsetting a";
  Process process(hostCommand(folder_.path(), {"--script", folder_ / "script"}));
  Lines lines = readToEnd(process);
  ASSERT_EQ(lines.size(), 4U);
  EXPECT_EQ(lines[2].at("line"), 5);
  lines.erase(lines.begin() + 2);
  EXPECT_EQ(lines,
            (Lines{{{"ready", true}}, {{"done", "set-setting"}}, {{"done", "setting"}, {"result", text}}}));
  EXPECT_EQ(process.waitForEnd(), 1);
}

TEST_F(HostContractTest, QuitAndSignalsEndItCleanly) {
  for (const int signal : {0, SIGTERM, SIGINT}) {
    HostProcess host = start();
    host.process().write(signal == 0 ? "quit\nnonsense\n" : "sleep 1000\n");
    if (signal != 0) host.process().sendSignal(signal);
    const Lines expected(signal == 0 ? 1 : 0, json{{"done", "quit"}});
    EXPECT_EQ(readToEnd(host.process()), expected) << signal;
    EXPECT_EQ(host.process().waitForEnd(), 0) << signal;
  }
}

TEST_F(HostContractTest, BadOptionsEndItWith64AndOneLineAndHelpWithAll) {
  std::istringstream cases(
      "\n--data\n--data /dev/null\n--data /dev/null/data\n--verbose 1\ncommands\n--state Active\n"
      "--connect 127.0.0.1\n--connect 127.0.0.1:65536\n--connect 127.0.0.1:0\n--connect 127.0.0.1:80x\n"
      "--connect :443\n--languages en,,fr\n--ca /none\n--resources /none\n--script /none\n--help --nonsense");
  const std::string everyOption =
      "--data --keychain --resources --bundle-id --app-version --build --connect --ca --model "
      "--system-version --device-name --locale --languages --carrier --machine --state --script --help ";
  for (std::string options; std::getline(cases, options);) {
    SCOPED_TRACE(options);
    Texts command = options.empty() ? Texts{LUMORA_HOST_PROGRAM} : hostCommand(folder_.path());
    std::istringstream words(options);
    for (std::string word; words >> word;) command.push_back(word);
    Process process(command);
    process.closeInput();
    std::string explained;
    while (const auto line = process.readLine())
      if (line->starts_with("  --")) explained += line->substr(2, line->find(' ', 2) - 1);
    const bool asksForHelp = options.starts_with("--help");
    EXPECT_EQ(explained, asksForHelp ? everyOption : "");
    EXPECT_EQ(process.waitForEnd(), asksForHelp ? 0 : 64);
    EXPECT_EQ(std::ranges::count(process.errorText(), '\n'), asksForHelp ? 0 : 1) << process.errorText();
  }
}

TEST_F(HostContractTest, TheLastOfAnOptionHoldsAndAKeychainMayRefuse) {
  for (const std::string keychain : {"/dev/null/keychain", "/", ""}) {
    HostProcess host = start({"--machine", "first,1", "--machine", "second,2", "--keychain", keychain});
    EXPECT_EQ(host.result("model-name"), "second,2");
    EXPECT_NE(host.result("device-id"), "") << keychain;
  }
  EXPECT_EQ(lumora::testing::modeOf(folder_ / "data"), 0700U);
}

TEST_F(HostContractTest, SettingsSurviveAKillAndGoWithTheDataFolder) {
  const Texts values{
      R"({"a":[9223372036854775807,1.5,true,"zażółć 😀",""],"b":{"date":15.25},"c":{"base64":"AA=="}})", "-7",
      R"({"date":-86400})", R"({"base64":""})", R"({"base64":"AP/+"})"};
  HostProcess first = start();
  for (const std::string& value : values) first.result("set-setting '" + value + "' '" + value + "'");
  const json identifier = first.result("device-id");
  first.process().sendSignal(SIGKILL);  // What a command wrote was flushed.
  EXPECT_EQ(first.process().waitForEnd(), 128 + SIGKILL);
  HostProcess second = start();
  for (const std::string& value : values) EXPECT_EQ(second.result("setting '" + value + "'").dump(), value);
  EXPECT_EQ(second.result("device-id"), identifier);
  second.result("remove-setting -7");
  EXPECT_EQ(second.result("setting -7"), json());
  EXPECT_EQ(second.quit(), 0);
  std::filesystem::remove_all(folder_ / "data");
  EXPECT_NE(start().result("device-id"), identifier);
}

TEST_F(HostContractTest, TrackingCommandsStoreTheirRecordsInOrder) {
  HostProcess host = start();
  host.runAll("network offline\ninit '' secret\naction nil\nlead nil");
  EXPECT_EQ(host.process().errorText(),
            "LumoraSDK-Tarrow ID is an empty string.\n"
            "LumoraSDK-Actin name should be a valid string. Failed to report action (null).\n"
            "LumoraSDK-Please set valid user attributes\n");
  const std::string details = R"('{"type":"t","details":null,"metric":1.5,"length":3,"Colour":"red"}')";
  host.runAll("init account secret\naction plain nil\naction full " + details);
  host.runAll("start-session reading\ndrain\nadvance 90.5\nend-session reading");
  host.runAll("lead '{\"city\":\"Oslo\",\"own\":\"x\"}'\nstart-session lost\ndrain");
  host.runAll("discard-sessions\nadvance 9\nend-all-sessions nil\ndrain");
  const Events events = storedEvents(folder_.path());
  ASSERT_EQ(namesOf(events), (Texts{"init", "plain", "full", "reading", "user"}));
  EXPECT_FALSE(events[1].contains("metadata"));
  EXPECT_EQ(events[2].at("metadata").dump(),
            R"({"Action Length":3,"Action Metric":1.5,"Action Type":"t","Colour":"red"})");
  EXPECT_GE(events[3].at("duration"), 90);  // Real time passes as well.
  EXPECT_LE(events[3].at("duration"), 150);
  EXPECT_EQ(events[4].at("user").dump(), R"({"city":"Oslo","own":"x"})");
}

TEST_F(HostContractTest, TellsWhatAnotherProcessKeptItFromStoringAtItsEnd) {
  HostProcess host = start();
  host.runAll("network offline\ninit account secret\naction first nil\ndrain");
  lumora::tests::SQLiteConnection other(folder_ / "data/Documents/ostrelab.sqlite");
  other.run("BEGIN EXCLUSIVE");
  host.runAll("action a nil\naction b nil\naction c nil");
  host.quit();
  EXPECT_TRUE(host.process().errorText().ends_with(" and this one ends, changes lost: 3\n"))
      << host.process().errorText();
}

/// The README's example, with nothing but its defaults.
TEST(QuickstartTest, StoresItsEventsInAFreshHome) {
  const lumora::testing::TemporaryFolder home;
  const std::string documents = home / ".local/share/lumora_quickstart/Documents";
  for (const std::size_t events : {1U, 2U}) {
    Process program({"/usr/bin/env", "-i", "HOME=" + home.path(), LUMORA_QUICKSTART_PROGRAM});
    ASSERT_EQ(program.waitForEnd(), 0) << program.errorText();
    EXPECT_EQ(lumora::testing::modeOf(documents), 0700U);
    EXPECT_EQ(lumora::testing::modeOf(documents + "/ostrelab.sqlite"), 0600U);
    EXPECT_EQ(namesOf(readEvents(documents + "/ostrelab.sqlite",
                                 "SELECT event FROM ostrel_events WHERE event LIKE '%level_done%'")),
              Texts(events, "level_done"));
  }
}

}  // namespace
}  // namespace lumora_end_to_end
