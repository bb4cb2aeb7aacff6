#include <gtest/gtest.h>
#include <signal.h>

#include <string>

#include "tests/Support/TemporaryFolder.h"
#include "tests/end_to_end/HostProcess.h"

namespace lumora_end_to_end {
namespace {

using lumora::testing::TemporaryFolder;

TEST(HostCommandLineTest, SplitsWordsAsAShellDoes) {
  struct Case {
    std::string word;
    std::string key;
  };
  // The word as it is typed, and the settings key that it must name.
  const std::vector<Case> cases{
      {R"('a b')", "a b"},
      {R"("a b")", "a b"},
      {R"(a\ b)", "a b"},
      {R"(a' 'b" "c)", "a b c"},
      {R"('a"b')", "a\"b"},
      {R"("a'b")", "a'b"},
      {R"('a\b')", "a\\b"},
      {R"("a\b")", "a\\b"},
      {R"("a\"b\\c\$d\`e")", "a\"b\\c$d`e"},
      {R"(a\b\\c)", "ab\\c"},
      {R"('nil')", "nil"},
      {R"(n"il")", "nil"},
      {R"(\nil)", "nil"},
      {R"(nils)", "nils"},
      {R"(a#b)", "a#b"},
      {R"("")", ""},
      {R"($HOME;|*)", "$HOME;|*"},
  };
  const TemporaryFolder folder;
  HostProcess host(folder.path());
  for (const auto& [word, key] : cases) {
    SCOPED_TRACE(word);
    // The same key as a JSON text, put between single quotes.
    std::string quoted = nlohmann::json(key).dump();
    for (std::size_t at = 0; (at = quoted.find('\'', at)) != std::string::npos; at += 4)
      quoted.replace(at, 1, R"('\'')");
    EXPECT_EQ(host.run("set-setting \t" + word + "   '" + quoted + "' ").back(),
              (nlohmann::json{{"done", "set-setting"}}));
    EXPECT_EQ(host.result("setting " + word), key);
  }
  EXPECT_EQ(host.quit(), 0);
}

TEST(HostCommandLineTest, RefusesWhatItCannotRead) {
  const std::vector<std::string> lines{
      "nonsense",
      "NONSENSE",
      " # not at the line's beginning",
      "setting 'open",
      "setting \"open",
      "setting \"open\\",
      "setting open\\",
      "setting",
      "setting a b",
      "setting nil",
      "set-setting a",
      "set-setting a {",
      "set-setting a \"{'a':1}\"",
      "set-setting a null",
      "set-setting a '{\"date\":\"today\"}'",
      "set-setting a '{\"base64\":\"!\"}'",
      "init",
      "init account",
      "timeout",
      "timeout 1.5",
      "timeout ten",
      "timeout ''",
      "timeout nil",
      "timeout 99999999999999999999",
      "advance -1",
      "advance nan",
      "advance inf",
      "advance 1s",
      "sleep -1",
      "state asleep",
      "state nil",
      "network",
      "network slow",
      "start-session",
      "start-session a b",
      "end-all-sessions a b",
      "discard-sessions a",
      "action",
      "action name []",
      "action name null",
      "action name '{\"type\":1}'",
      "action name '{\"metric\":\"1\"}'",
      "action name '{\"length\":true}'",
      "action name '{\"other\":1}'",
      "action name '{}' more",
      "lead",
      "lead text",
      "lead '{\"email\":1}'",
      "lead '{\"custom\":[]}'",
      "report-all now",
      "drain now",
      "quit now",
      "is-initialized now",
      std::string("nul\0byte", 8),
      "not utf-8 \xFF\xFE",
      std::string("setting '\xFF"),
  };
  const TemporaryFolder folder;
  HostProcess host(folder.path());
  long number = 0;
  for (const std::string& line : lines) {
    SCOPED_TRACE(line);
    const Lines answer = host.run(line);
    ASSERT_EQ(answer.size(), 1U);
    EXPECT_EQ(answer[0].size(), 2U) << answer[0];
    EXPECT_FALSE(answer[0].value("error", "").empty()) << answer[0];
    EXPECT_EQ(answer[0].value("line", 0), ++number);
  }
  EXPECT_EQ(host.quit(), 1);
}

TEST(HostCommandLineTest, ReadsLongLinesAndALastLineWithoutLineFeed) {
  const TemporaryFolder folder;
  const std::string text(1024 * 1024, 'x');
  {
    HostProcess host(folder.path());
    host.result("set-setting long '\"" + text + "\"'");
    EXPECT_EQ(host.quit(), 0);
  }
  HostProcess host(folder.path());
  host.process().write("setting long");
  host.process().closeInput();
  const Lines lines = readToEnd(host.process());
  ASSERT_FALSE(lines.empty());
  EXPECT_EQ(lines[0]["result"], text);
  EXPECT_EQ(host.process().waitForEnd(), 0);
}

TEST(HostCommandLineTest, QuitIsAnsweredAndLeavesTheRestUnread) {
  const TemporaryFolder folder;
  HostProcess host(folder.path());
  host.process().write("quit\nnonsense\n");
  EXPECT_EQ(readToEnd(host.process()), (Lines{{{"done", "quit"}}}));
  EXPECT_EQ(host.process().waitForEnd(), 0);
}

TEST(HostCommandLineTest, TerminationSignalsQuit) {
  for (const int signal : {SIGTERM, SIGINT}) {
    for (const char* command : {"", "sleep 1000\n"}) {
      SCOPED_TRACE(std::to_string(signal) + " during " + command);
      const TemporaryFolder folder;
      HostProcess host(folder.path());
      host.process().write(command);
      host.process().sendSignal(signal);
      EXPECT_EQ(host.process().waitForEnd(), 0);
      EXPECT_EQ(linesWith(readToEnd(host.process()), "error"), Lines{});
    }
  }
}

}  // namespace
}  // namespace lumora_end_to_end
