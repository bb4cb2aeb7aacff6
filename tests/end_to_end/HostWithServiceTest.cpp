#include <gtest/gtest.h>
#include <signal.h>

#include <string>
#include <vector>

#include "tests/Support/TemporaryFolder.h"
#include "tests/end_to_end/HostProcess.h"
#include "tests/end_to_end/ServiceProcess.h"

namespace lumora_end_to_end {
namespace {

using lumora::testing::TemporaryFolder;
using nlohmann::json;
using Names = std::vector<std::string>;

class HostWithServiceTest : public testing::Test {
 protected:
  static json accounts(const json& misbehaviour = json::array()) {
    return {{"acme", {{"secret", "s3cret"}, {"config", json::object()}, {"misbehave", misbehaviour}}}};
  }

  HostProcess startHost() const { return HostProcess(folder_.path(), service_.hostOptions()); }
  Names namesStored() const { return namesOf(storedEvents(folder_.path())); }
  Names namesReceived() const { return namesOf(service_.received()); }

  static void kill(HostProcess& host) {
    host.process().sendSignal(SIGKILL);
    EXPECT_EQ(host.process().waitForEnd(), 128 + SIGKILL);
  }

  const TemporaryFolder folder_;
  const ServiceProcess service_{folder_.path(), accounts()};
};

TEST_F(HostWithServiceTest, TheFirstInitialisationUploads) {
  HostProcess host = startHost();
  host.runAll("init acme s3cret\ndrain");
  EXPECT_EQ(host.result("is-initialized"), true);
  EXPECT_EQ(namesReceived(), (Names{"init", "lmr_app_open"}));
  EXPECT_EQ(namesStored(), Names{});
  EXPECT_EQ(host.quit(), 0);
}

TEST_F(HostWithServiceTest, AWrongSecretLeavesItUninitialised) {
  HostProcess host = startHost();
  host.runAll("init acme wrong\naction kept\ndrain");
  EXPECT_EQ(host.result("is-initialized"), false);
  EXPECT_EQ(namesReceived(), Names{});
  EXPECT_EQ(namesStored(), (Names{"init", "kept"}));
  host.runAll("init acme s3cret\ndrain");
  EXPECT_EQ(host.result("is-initialized"), true);
  EXPECT_EQ(host.quit(), 0);
}

TEST_F(HostWithServiceTest, AnUntrustedServiceReceivesNothing) {
  HostProcess host(folder_.path(), service_.connectOption());
  host.runAll("init acme s3cret\naction kept\nreport-all\ndrain");
  EXPECT_EQ(host.result("is-initialized"), false);
  EXPECT_EQ(namesReceived(), Names{});
  EXPECT_EQ(host.quit(), 0);
}

TEST_F(HostWithServiceTest, WhatWasRecordedOfflineArrivesOnceOnline) {
  {
    HostProcess host = startHost();
    host.runAll("init acme s3cret\ndrain");
    EXPECT_EQ(host.quit(), 0);
  }
  // Restarts from what it has stored, without the network.
  HostProcess host = startHost();
  host.runAll("network offline\ninit acme s3cret\naction one\naction two\nreport-all\ndrain");
  EXPECT_EQ(host.result("is-initialized"), true);
  EXPECT_EQ(namesStored(), (Names{"lmr_app_open", "one", "two"}));
  host.runAll("network unknown-host\nreport-all\ndrain");
  EXPECT_EQ(namesReceived(), (Names{"init", "lmr_app_open"}));
  host.runAll("network online\nreport-all\ndrain");
  EXPECT_EQ(namesReceived(), (Names{"init", "lmr_app_open", "lmr_app_open", "one", "two"}));
  EXPECT_EQ(namesStored(), Names{});
  EXPECT_EQ(host.quit(), 0);
}

TEST_F(HostWithServiceTest, AKilledHostLosesNoStoredEvent) {
  {
    HostProcess host = startHost();
    host.runAll("init acme s3cret\ndrain\nnetwork offline\naction one\nlead '{\"city\":\"Oslo\"}'\ndrain");
    kill(host);
  }
  HostProcess host = startHost();
  host.runAll("init acme s3cret\ndrain");
  EXPECT_EQ(namesReceived(), (Names{"init", "lmr_app_open", "one", "user", "lmr_app_open"}));
  EXPECT_EQ(namesStored(), Names{});
  EXPECT_EQ(host.quit(), 0);
}

TEST_F(HostWithServiceTest, AHostKilledWhileItUploadsSendsAgain) {
  constexpr int kLongerThanTheTest = 3'600'000;
  service_.writeAccounts(accounts({{"endpoint", "report"}, {"delay_ms", kLongerThanTheTest}}));
  {
    HostProcess host = startHost();
    host.result("init acme s3cret");
    host.process().waitForErrorText("sending data");
    kill(host);
  }
  EXPECT_EQ(namesStored(), (Names{"init", "lmr_app_open"}));
  service_.writeAccounts(accounts());
  HostProcess host = startHost();
  host.runAll("init acme s3cret\ndrain");
  EXPECT_EQ(namesReceived(), (Names{"init", "lmr_app_open", "lmr_app_open"}));
  EXPECT_EQ(namesStored(), Names{});
  EXPECT_EQ(host.quit(), 0);
}

TEST_F(HostWithServiceTest, RefusedAndBrokenUploadsKeepTheEvents) {
  const std::vector<json> misbehaviours{
      {{"endpoint", "report"}, {"status", 503}, {"body", "<html>busy</html>"}},
      {{"endpoint", "report"}, {"body", "no JSON"}},
      {{"endpoint", "report"}, {"body", {{"success", false}, {"error_message", "no"}}}},
      {{"endpoint", "report"}, {"truncate", true}},
      {{"endpoint", "report"}, {"drop", "before"}},
      {{"endpoint", "report"}, {"drop", "after"}},
  };
  HostProcess host = startHost();
  host.runAll("init acme s3cret\ndrain");
  for (const json& misbehaviour : misbehaviours) {
    SCOPED_TRACE(misbehaviour.dump());
    service_.writeAccounts(accounts(misbehaviour));
    host.runAll("action kept\nreport-all\ndrain");
    EXPECT_EQ(namesStored(), Names{"kept"});
    service_.writeAccounts(accounts());
    host.runAll("report-all\ndrain");
    EXPECT_EQ(namesStored(), Names{});
    EXPECT_EQ(namesReceived().back(), "kept");
  }
  EXPECT_EQ(host.quit(), 0);
}

}  // namespace
}  // namespace lumora_end_to_end
