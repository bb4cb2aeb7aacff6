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

/// The desktop's opener is a script here that writes its arguments down, one per line.
class DesktopURLOpenerTest : public ::testing::Test {
 protected:
  DesktopURLOpenerTest() {
    const std::string program = folder / "xdg-open";
    writeFile(program, "#!/bin/sh\nprintf '%s\\n' \"$@\" > '" + arguments + "'\necho noise\n");
    ::chmod(program.c_str(), 0700);
    ::setenv("PATH", (folder.path() + ":/usr/bin:/bin").c_str(), 1);
  }

  /// Returns once this process has no child any more, finished ones included.
  static void waitForNoChildren() {
    siginfo_t child{};
    while (::waitid(P_ALL, 0, &child, WEXITED | WNOWAIT) == 0) std::this_thread::yield();
  }

  TemporaryFolder folder;
  const std::string arguments = folder / "arguments";
};

TEST_F(DesktopURLOpenerTest, HandsTheURLOverAsOneArgumentAndLeavesNoZombie) {
  for (const std::string text :
       {"http://example.com/a?b=c&d=$(touch%20x);'e'", "--x:y", "tel:+123", "mailto:a@b.c"}) {
    std::filesystem::remove(arguments);
    const URL url = *URL::parse(text);
    const bool isAbsolute = url.scheme().has_value();
    EXPECT_EQ(openURLOnDesktop(url), isAbsolute) << text;
    waitForNoChildren();
    EXPECT_EQ(readFile(arguments), isAbsolute ? text + "\n" : "") << text;
  }
}

TEST_F(DesktopURLOpenerTest, RefusesWhatIsNoURLForTheDesktop) {
  for (const char* text :
       {"--help", "-x", "/etc/passwd", "relative", "//host/path", "file:///etc/passwd", "FILE:///x"}) {
    EXPECT_FALSE(openURLOnDesktop(*URL::parse(text))) << text;
  }
  waitForNoChildren();
  EXPECT_FALSE(std::filesystem::exists(arguments));
}

TEST_F(DesktopURLOpenerTest, RefusesWithoutTheProgram) {
  ::setenv("PATH", (folder / "nothing").c_str(), 1);
  EXPECT_FALSE(openURLOnDesktop(*URL::parse("http://example.com")));
}

}  // namespace
}  // namespace lumora::testing
