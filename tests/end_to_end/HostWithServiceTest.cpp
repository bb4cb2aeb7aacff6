#include <gtest/gtest.h>
#include <signal.h>

#include <string>
#include <tuple>
#include <vector>

#include "tests/Support/TemporaryFolder.h"
#include "tests/end_to_end/HostProcess.h"
#include "tests/end_to_end/ServiceProcess.h"

namespace lumora_end_to_end {
namespace {

using lumora::testing::TemporaryFolder;
using nlohmann::json;
using Names = std::vector<std::string>;

json accounts(const json& misbehaviour = json::array()) {
  return {{"acme", {{"secret", "s3cret"}, {"misbehave", misbehaviour}}}};
}

class HostWithServiceTest : public testing::Test {
 protected:
  HostProcess startHost() const { return HostProcess(folder_.path(), service_.hostOptions()); }
  Names namesStored() const { return namesOf(storedEvents(folder_.path())); }
  Names namesReceived() const { return namesOf(service_.received()); }

  const TemporaryFolder folder_;
  const ServiceProcess service_{folder_.path(), accounts()};
};

TEST_F(HostWithServiceTest, AServiceThatCannotBeTrustedReceivesNothing) {
  for (const std::string kind : {"good", "other-ca", "expired", "wrong-host"}) {
    const TemporaryFolder folder;
    const ServiceProcess service(folder.path(), accounts(), "--certificate", kind);
    std::vector<std::string> options = service.hostOptions();
    if (kind == "good") options.resize(2);  // The system's authorities do not know it.
    HostProcess host(folder.path(), options);
    host.runAll("init acme s3cret\naction kept\nreport-all\ndrain");
    EXPECT_EQ(service.received(), Events{}) << kind;
    EXPECT_EQ(namesOf(storedEvents(folder.path())), (Names{"init", "kept"})) << kind;
  }
}

TEST_F(HostWithServiceTest, EventsArriveAfterTheFirstInitialisationAndAfterARestart) {
  HostProcess first = startHost();
  first.runAll("init acme wrong\naction kept\ndrain");
  EXPECT_EQ(first.result("is-initialized"), false);
  EXPECT_EQ(namesReceived(), Names{});
  first.runAll("init acme s3cret\ndrain");
  EXPECT_EQ(first.result("is-initialized"), true);
  Names all{"init", "kept", "init", "lmr_app_open"};
  EXPECT_EQ(namesReceived(), all);
  EXPECT_EQ(first.quit(), 0);

  HostProcess host = startHost();
  host.runAll("network offline\ninit acme s3cret\naction one\nreport-all\ndrain");
  EXPECT_EQ(host.result("is-initialized"), true);
  host.runAll("network unknown-host\nreport-all\ndrain");
  EXPECT_EQ(namesStored(), (Names{"lmr_app_open", "one"}));
  EXPECT_EQ(namesReceived(), all);
  host.runAll("network online\nreport-all\ndrain");
  all.insert(all.end(), {"lmr_app_open", "one"});
  EXPECT_EQ(namesReceived(), all);
  EXPECT_EQ(namesStored(), Names{});
}

TEST_F(HostWithServiceTest, AKillLosesNothingAndSendsNothingTwice) {
  constexpr int longerThanTheTest = 3'600'000;
  // What is done, the delay of an upload's answer, what the log tells then, and what is stored at that
  // moment.
  const std::tuple<std::string, int, std::string, Names> cases[] = {
      {"drain\nnetwork offline\naction one\nlead {}\ndrain", 0, "", {"one", "user"}},
      {"can-report", longerThanTheTest, "sending data", {"init", "lmr_app_open"}},
      {"drain", 0, "", {}}};
  for (const auto& [commands, delay, moment, stored] : cases) {
    SCOPED_TRACE(commands);
    const TemporaryFolder folder;
    const ServiceProcess service(folder.path(), accounts({{"endpoint", "report"}, {"delay_ms", delay}}));
    HostProcess killed(folder.path(), service.hostOptions());
    killed.runAll("init acme s3cret\n" + commands);
    killed.process().waitForErrorText(moment);
    killed.process().sendSignal(SIGKILL);
    EXPECT_EQ(killed.process().waitForEnd(), 128 + SIGKILL);
    EXPECT_EQ(namesOf(storedEvents(folder.path())), stored);

    service.writeAccounts(accounts());
    HostProcess host(folder.path(), service.hostOptions());
    host.runAll("init acme s3cret\ndrain");
    Names all = delay == 0 ? Names{"init", "lmr_app_open"} : Names{};
    all.insert(all.end(), stored.begin(), stored.end());
    all.push_back("lmr_app_open");
    EXPECT_EQ(namesOf(service.received()), all);
    EXPECT_EQ(storedEvents(folder.path()), Events{});
  }
}

TEST_F(HostWithServiceTest, RefusedAndBrokenUploadsKeepTheEvents) {
  HostProcess host = startHost();
  host.runAll("init acme s3cret\ndrain");
  for (const char* misbehaviour : {R"({"status":503,"body":"<html>"})", R"({"body":{"success":false}})",
                                   R"({"truncate":true})", R"({"drop":"before"})", R"({"drop":"after"})"}) {
    SCOPED_TRACE(misbehaviour);
    service_.writeAccounts(accounts(json::parse(misbehaviour)));
    host.runAll("action kept\nreport-all\ndrain");
    EXPECT_EQ(namesStored(), Names{"kept"});
    service_.writeAccounts(accounts());
    host.runAll("report-all\ndrain");
    EXPECT_EQ(namesStored(), Names{});
    EXPECT_EQ(namesReceived().back(), "kept");
  }
}

}  // namespace
}  // namespace lumora_end_to_end
