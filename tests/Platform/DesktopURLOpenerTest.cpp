#include "lumora/Platform/Linux/DesktopURLOpener.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>

#include <cstdlib>
#include <thread>

#include "tests/Support/TemporaryFolder.h"
#include "tests/Support/TestFiles.h"

namespace lumora::testing {
namespace {

/// Returns once this process has no child any more, finished ones included.
void waitForNoChildren() {
  siginfo_t child{};
  while (::waitid(P_ALL, 0, &child, WEXITED | WNOWAIT) == 0) std::this_thread::yield();
}

TEST(DesktopURLOpenerTest, HandsAWebURLOverAsOneArgumentAndLeavesNoZombie) {
  // The desktop's opener is a script here that writes its arguments down, one per line.
  const TemporaryFolder folder;
  const std::string program = folder / "xdg-open";
  const std::string arguments = folder / "arguments";
  writeFile(
      program,
      "#!/bin/sh\nprintf '%s\\n' \"$@\" > '" + arguments +
          "'\necho noise\n[ ! -e /proc/$$/fd/77 ] && [ /proc/$$/fd/2 -ef /dev/null ] || echo inherited >> '" +
          arguments + "'\n");
  ::dup2(STDERR_FILENO, 77);
  ::chmod(program.c_str(), 0700);
  ::setenv("PATH", (folder.path() + ":/usr/bin:/bin").c_str(), 1);
  // clang-format off
  const std::pair<std::string, bool> cases[] = {
      {"http://example.com/a?b=c&d=$(touch%20x);'e'", true}, {"tel:+123", true}, {"mailto:a@b.c", true},
      {"--help", false}, {"/etc/passwd", false}, {"relative", false}, {"//host/path", false},
      {"file:///etc/passwd", false}, {"FILE:///x", false}};
  // clang-format on
  for (const auto& [text, opens] : cases) {
    std::filesystem::remove(arguments);
    EXPECT_EQ(openURLOnDesktop(*URL::parse(text)), opens) << text;
    waitForNoChildren();
    EXPECT_EQ(readFile(arguments), opens ? text + "\n" : "") << text;
  }
  ::setenv("PATH", (folder / "nothing").c_str(), 1);
  EXPECT_FALSE(openURLOnDesktop(*URL::parse("http://example.com"))) << "there is no such program";
}

}  // namespace
}  // namespace lumora::testing
