#include "lumora/Platform/Linux/Tasks/ProcessEnd.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <future>
#include <thread>

#include "lumora/Platform/Linux/Host/LinuxSystemLog.h"
#include "lumora/Platform/Linux/LinuxApplication.h"
#include "lumora/Platform/Linux/Network/CurlURLLoader.h"
#include "tests/Platform/HTTPTestServer.h"

namespace lumora::testing {
namespace {

/// A host that the process ends under, with a request under way.
struct Host {
  Host() {
    application.observe(LifecycleNotification::willEnterForeground, [this] { heard += "observer"; });
    main.async([this] { heard += "main"; });
    queue->async([this] { heard += "task"; });
    std::thread([this] {
      const ProcessEnd::Transfer transfer;  // The end waits until its outcome is written down, too.
      underWay = load();
    }).detach();
    begun.get_future().wait();
  }

  int load() {
    URLRequest request;
    request.url = server.url();
    return loader.load(request).error.value_or(TransportError{}).code;
  }

  /// Tries, at the very end, all that must not happen any more, and tells what did happen.
  void report() {
    log.write("LumoraSDK-log");
    application.post(LifecycleNotification::willEnterForeground);
    main.sync([this] { heard += "main"; });
    main.runPending();
    queue->sync([this] { heard += "late task"; });
    std::fprintf(stderr, "heard: %s; ended: %d %d.", heard.c_str(), underWay, load());
  }

  std::string heard;
  int underWay = 0;
  std::promise<void> begun;
  HTTPTestServer server{[this](std::size_t) {
    begun.set_value();
    return HTTPTestServer::Reply{"HTTP/1.1 200 OK\r\nContent-Length: 10\r\n\r\nhalf"};
  }};
  CurlURLLoader loader{"", ""};
  LinuxSystemLog log{[this](std::string_view message) { heard += message; }};
  LinuxMainQueue main;
  LinuxTaskQueues queues{main};
  LinuxApplication application{ApplicationState::active, nullptr, nullptr, queues};
  const std::unique_ptr<TaskQueue> queue = queues.makeSerialQueue("queue");
};

void endTheProcess(bool onLibraryThread) {
  static Host* host = nullptr;
  // Comes before the library's own handler, as those of the TLS library do, and so runs after it.
  std::atexit([] { host->report(); });
  host = new Host;
  if (onLibraryThread) host->queue->sync([] { std::exit(7); });
  std::exit(7);
}

TEST(ProcessEndTest, AbortsTheRequestRunsTheTasksAndCallsNoHostCode) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  for (const bool onLibraryThread : {false, true}) {
    EXPECT_EXIT(endTheProcess(onLibraryThread), ::testing::ExitedWithCode(7),
                "heard: task; ended: -999 -999\\.")
        << onLibraryThread;
  }
}

void endAfterTheFirstTask() {
  ProcessEnd::watch();
  auto* const main = new LinuxMainQueue;
  TaskQueue* const queue = LinuxTaskQueues(*main).makeSerialQueue("queue").release();
  queue->async([] { std::fprintf(stderr, "stored"); });
  std::exit(7);
}

TEST(ProcessEndTest, RunsATaskWhoseThreadHasOnlyJustBeenStarted) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(endAfterTheFirstTask(), ::testing::ExitedWithCode(7), "stored");
}

/// One thread ends the process while a queue of another thread has work; a second thread ends it too.
void endOnTwoThreads(bool firstIsOfALibrary) {
  ProcessEnd::watch();
  auto* const main = new LinuxMainQueue;
  auto* const queues = new LinuxTaskQueues(*main);
  TaskQueue* const busy = queues->makeSerialQueue("busy").release();
  TaskQueue* const other = queues->makeSerialQueue("other").release();
  busy->async([] {
    while (!ProcessEnd::hasBegun()) std::this_thread::yield();
    std::fprintf(stderr, "stored, ");
  });
  for (int task = 0; task < 100; ++task) busy->async([] { std::fputc('.', stderr); });
  busy->async([] { std::fprintf(stderr, " all"); });
  if (firstIsOfALibrary) {
    other->async([] { std::exit(7); });
  } else {
    std::thread([] { std::exit(7); }).detach();
  }
  while (!ProcessEnd::hasBegun()) std::this_thread::yield();
  std::exit(7);
}

TEST(ProcessEndTest, WaitsForOtherQueuesWhicheverThreadsEndTheProcess) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  for (const bool firstIsOfALibrary : {true, false}) {
    EXPECT_EXIT(endOnTwoThreads(firstIsOfALibrary), ::testing::ExitedWithCode(7), "stored, \\.{100} all")
        << firstIsOfALibrary;
  }
}

/// The host's own code is running when the process ends, and more of it waits.
void endDuringACallOfTheHost() {
  ProcessEnd::watch();
  auto* const main = new LinuxMainQueue;
  TaskQueue* const queue = LinuxTaskQueues(*main).makeHostQueue("host").release();
  std::promise<void> begun;
  queue->async([&begun] {
    begun.set_value();
    while (!ProcessEnd::hasBegun()) std::this_thread::yield();
    std::fprintf(stderr, "whole");
  });
  queue->async([] { std::fprintf(stderr, ", late"); });
  LinuxTaskQueues(*main).reportUnfinished(
      [](std::size_t tasks) { std::fprintf(stderr, ", lost: %zu.", tasks); });
  begun.get_future().wait();
  std::exit(7);
}

TEST(ProcessEndTest, WaitsForTheHostsCallThatRunsAndBeginsNoOther) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(endDuringACallOfTheHost(), ::testing::ExitedWithCode(7), "whole, lost: 0\\.");
}

}  // namespace
}  // namespace lumora::testing
