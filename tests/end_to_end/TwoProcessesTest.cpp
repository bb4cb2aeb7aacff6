#include <gtest/gtest.h>
#include <signal.h>

#include <map>
#include <string>

#include "tests/Support/TemporaryFolder.h"
#include "tests/end_to_end/HostProcess.h"
#include "tests/end_to_end/ServiceProcess.h"

namespace lumora_end_to_end {
namespace {

nlohmann::json accounts(int uploadDelay) {
  const nlohmann::json slow{{"endpoint", "report"}, {"delay_ms", uploadDelay}};
  return {{"acme", {{"secret", "s3cret"}, {"misbehave", slow}}}};
}

TEST(TwoProcessesTest, EveryEventOfTwoHostsOnOneFolderArrivesOnce) {
  constexpr int longerThanTheTest = 3'600'000;
  const lumora::testing::TemporaryFolder folder;
  const ServiceProcess service(folder.path(), accounts(30));
  HostProcess first(folder.path(), service.hostOptions());
  first.runAll("init acme s3cret\ndrain");
  HostProcess second(folder.path(), service.hostOptions());
  second.runAll("init acme s3cret\ndrain");
  for (int number = 0; number < 30; ++number) {
    for (HostProcess* host : {&first, &second}) host->runAll("action event\nreport-all");
  }
  for (HostProcess* host : {&first, &second}) host->result("drain");

  // One host waits for the answer for ever; the other stores its events, and sends them after the kill.
  service.writeAccounts(accounts(longerThanTheTest));
  first.runAll("action slow\nreport-all");
  first.process().waitForErrorText(R"(sending data {"event_type":"checkpoint","name":"slow")");
  second.runAll("advance 60\naction late\ndrain");
  second.process().waitForErrorText("Already reporting the event");
  EXPECT_EQ(namesOf(storedEvents(folder.path())), (std::vector<std::string>{"slow", "late"}));
  first.process().sendSignal(SIGKILL);
  first.process().waitForEnd();
  service.writeAccounts(accounts(0));
  second.runAll("report-all\ndrain");

  std::map<std::string, int> counts;
  for (const std::string& name : namesOf(service.received())) ++counts[name];
  EXPECT_EQ(counts, (std::map<std::string, int>{
                        {"event", 60}, {"init", 1}, {"late", 1}, {"lmr_app_open", 2}, {"slow", 1}}));
  EXPECT_EQ(storedEvents(folder.path()), Events{});
}

}  // namespace
}  // namespace lumora_end_to_end
