#include "lumora/Platform/Application.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>

#include <cstdlib>
#include <thread>

#include "lumora/Platform/Linux/Host/BackgroundTasks.h"
#include "lumora/Platform/Linux/Host/DesktopURLOpener.h"
#include "lumora/Platform/Linux/LinuxApplication.h"
#include "lumora/Testing/FakeApplication.h"
#include "tests/Support/TemporaryFolder.h"
#include "tests/Support/TestFiles.h"

namespace lumora::testing {
namespace {

struct Queues {
  LinuxMainQueue main;
  LinuxTaskQueues queues{main};
};

struct ActiveLinuxApplication : Queues, LinuxApplication {
  ActiveLinuxApplication() : LinuxApplication(ApplicationState::active, nullptr, nullptr, queues) {}
};

template <typename Implementation>
struct ApplicationTest : ::testing::Test, Implementation {};

using Applications = ::testing::Types<FakeApplication, ActiveLinuxApplication>;
TYPED_TEST_SUITE(ApplicationTest, Applications);

TYPED_TEST(ApplicationTest, TellsEachObserverRegisteredBefore) {
  std::string heard;
  const auto change = LifecycleNotification::willEnterForeground;
  const std::function<void()> handler = [&] {
    heard += "a";
    this->observe(change, [&] { heard += "b"; });
  };
  for (int i = 0; i < 2; ++i) this->observe(change, handler);
  this->post(LifecycleNotification::didEnterBackground);
  for (int i = 0; i < 2; ++i) this->post(change);
  EXPECT_EQ(heard, "aaaabb");
}

TYPED_TEST(ApplicationTest, ExpiresTheBackgroundTasksThatStillRun) {
  std::string expired;
  Application::BackgroundTaskId second = 0;
  this->beginBackgroundTask([&] {
    expired += "1";
    this->endBackgroundTask(second);
  });
  second = this->beginBackgroundTask([&] { expired += "2"; });
  this->beginBackgroundTask(nullptr);
  this->expireBackgroundTasks();
  EXPECT_EQ(expired, "1") << "the first ends the second";
}

TEST(BackgroundTasksTest, EndHalfAMinuteAfterTheLastWorkAndAfterThreeMinutes) {
  using std::chrono::seconds;
  // The task's age, the quiet time before, and what is left, in seconds.
  const int cases[][3] = {{0, 100, 30}, {29, 29, 1}, {29, 0, 30}, {31, 99, 0},
                          {160, 5, 20}, {179, 0, 1}, {999, 0, 0}};
  for (const auto& [age, quiet, left] : cases)
    EXPECT_EQ(BackgroundTime{}.left(seconds(age), seconds(quiet)), seconds(left)) << age << " " << quiet;

  const auto atWork = [] { return seconds(0); };
  LinuxMainQueue main;
  BackgroundTasks tasks(main, atWork, {.quiet = seconds(0)});
  BackgroundTasks::Id task = 0;
  task = tasks.begin([&] {
    tasks.end(task);
    main.stop();
  });
  main.run();
  BackgroundTasks later(main, atWork, {.quiet = std::chrono::hours(1), .longest = std::chrono::hours(1)});
  later.begin(nullptr);  // The destructor does not wait for the hour.
}

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
