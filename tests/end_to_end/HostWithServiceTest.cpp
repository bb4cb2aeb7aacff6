#include "tests/Support/TemporaryFolder.h"
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

TEST_F(HostWithServiceTest, NoEndLosesWhatWasStoredOrSendsItTwice) {
  struct Case {
    std::string commands;
    /// The endpoint whose answer does not come, and what the log tells once it is asked.
    std::string endpoint, moment;
    std::string commandsThen;
    /// 0: the end of the input.
    int signal;
    Names stored;
  };
  const std::string two = "action one\naction two";
  const Case cases[] = {
      {"drain\nnetwork offline\naction one\nlead {}\ndrain", "", "", "", SIGKILL, {"one", "user"}},
      {"", "report", "sending data", "", SIGKILL, {"init", "lmr_app_open"}},
      {"drain", "", "", "", SIGKILL, {}},
      // A normal end aborts the request and stores what was called before.
      {"", "sync", "Getting data", two, 0, {"init", "one", "two"}},
      {"", "report", "sending data", two, 0, {"init", "lmr_app_open", "one", "two"}},
      {"", "report", "sending data", two, SIGTERM, {"init", "lmr_app_open", "one", "two"}}};
  for (const auto& [commands, endpoint, moment, commandsThen, signal, stored] : cases) {
    SCOPED_TRACE(commands + endpoint + std::to_string(signal));
    const int delay = endpoint.empty() ? 0 : 3'600'000;
    const TemporaryFolder folder;
    const ServiceProcess service(folder.path(), accounts({{"endpoint", endpoint}, {"delay_ms", delay}}));
    HostProcess ended(folder.path(), service.hostOptions());
    ended.runAll("init acme s3cret\n" + commands);
    ended.process().waitForErrorText(moment);
    ended.runAll(commandsThen);
    signal == 0 ? ended.process().closeInput() : ended.process().sendSignal(signal);
    EXPECT_EQ(ended.process().waitForEnd(), signal == SIGKILL ? 128 + SIGKILL : 0);
    EXPECT_EQ(ended.process().errorText().find("LumoraSDK-The program is ending.\n") != std::string::npos,
              signal != SIGKILL);
    EXPECT_EQ(namesOf(storedEvents(folder.path())), stored);

    service.writeAccounts(accounts());
    HostProcess host(folder.path(), service.hostOptions());
    host.runAll("init acme s3cret\ndrain");
    Names all = delay == 0 ? Names{"init", "lmr_app_open"} : Names{};
    all.insert(all.end(), stored.begin(), stored.end());
    if (endpoint == "sync") all.push_back("init");
    all.push_back("lmr_app_open");
    EXPECT_EQ(namesOf(service.received()), all);
    EXPECT_EQ(storedEvents(folder.path()), Events{});
  }
}

TEST_F(HostWithServiceTest, EveryEventOfTwoHostsOnOneFolderArrivesOnce) {
  const auto delayUploads = [this](int milliseconds) {
    service_.writeAccounts(accounts({{"endpoint", "report"}, {"delay_ms", milliseconds}}));
  };
  delayUploads(30);
  HostProcess first = startHost();
  first.runAll("init acme s3cret\ndrain");
  HostProcess second = startHost();
  second.runAll("init acme s3cret\ndrain");
  for (int number = 0; number < 30; ++number) {
    for (HostProcess* host : {&first, &second}) host->runAll("action event\nreport-all");
  }
  for (HostProcess* host : {&first, &second}) host->result("drain");

  // One host waits for the answer for ever; the other stores its events, and sends them after the kill.
  delayUploads(3'600'000);
  first.runAll("action slow\nreport-all");
  first.process().waitForErrorText(R"(sending data {"event_type":"checkpoint","name":"slow")");
  second.runAll("advance 60\naction late\ndrain");
  second.process().waitForErrorText("Already reporting the event");
  EXPECT_EQ(namesStored(), (Names{"slow", "late"}));
  first.process().sendSignal(SIGKILL);
  first.process().waitForEnd();
  delayUploads(0);
  second.runAll("report-all\ndrain");
  Names all(60, "event");
  all.insert(all.end(), {"init", "late", "lmr_app_open", "lmr_app_open", "slow"});
  Names received = namesReceived();
  std::ranges::sort(received);
  EXPECT_EQ(received, all);
  EXPECT_EQ(namesStored(), Names{});
}

}  // namespace
}  // namespace lumora_end_to_end
