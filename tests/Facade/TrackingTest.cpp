#include <functional>
#include <limits>

#include "lumora/Facade/LumoraActionMetaData.h"
#include "lumora/Facade/LumoraLead.h"
#include "tests/Facade/LumoraFixture.h"

namespace lumora::tests {
namespace {

constexpr const char* warning =
    "LumoraSDK-[warning] is not initialized. Initialize Framwork using initializeWithTarrowID:appSecret: "
    "method.";
constexpr const char* post = "POST /report/events/";

class TrackingTest : public LumoraTest {
 protected:
  static std::string action(const std::string& name, const std::string& metadata = "") {
    return R"({"event_type":"checkpoint",)" + (metadata.empty() ? "" : R"("metadata":)" + metadata + ",") +
           R"("name":")" + name + R"(","timestamp":1496318400,"type":"custom"})";
  }
  static std::string session(const std::string& name, long duration, long timestamp) {
    return R"({"duration":)" + std::to_string(duration) + R"(,"event_type":"session","name":")" + name +
           R"(","timestamp":)" + std::to_string(timestamp) + R"(,"type":"internal"})";
  }
};

struct Operation {
  const char* name;
  std::function<void(Lumora&)> call;
  std::size_t queued;
};

const Operation operations[] = {
    {"startSession", [](Lumora& l) { l.startSession("level"); }, 1},
    {"endSession", [](Lumora& l) { l.endSession("level"); }, 1},
    {"endAllSessionsWithType", [](Lumora& l) { l.endAllSessionsWithType("custom"); }, 1},
    {"endAllSessionsWithType(null)", [](Lumora& l) { l.endAllSessionsWithType(std::nullopt); }, 1},
    {"discardAllSessions", [](Lumora& l) { l.discardAllSessions(); }, 0},
    {"reportAction", [](Lumora& l) { l.reportAction("a"); }, 1},
    {"associateLead", [](Lumora& l) { l.associateLead(std::make_shared<LumoraLead>()); }, 1},
};

TEST_F(TrackingTest, badArgumentsEndTheCall) {
  const struct {
    const char* name;
    std::function<void(Lumora&)> call;
    Texts lines;
  } cases[] = {
      {"startSession(null)", [](Lumora& l) { l.startSession(std::nullopt); }, {}},
      {"startSession(\"\")", [](Lumora& l) { l.startSession(""); }, {}},
      {"endSession(null)", [](Lumora& l) { l.endSession(std::nullopt); }, {}},
      {"endSession(\"\")", [](Lumora& l) { l.endSession(""); }, {}},
      {"reportAction(null)",
       [](Lumora& l) { l.reportAction(std::nullopt); },
       {"LumoraSDK-Actin name should be a valid string. Failed to report action (null)."}},
      {"reportAction(\"\")",
       [](Lumora& l) { l.reportAction("", std::make_shared<LumoraActionMetaData>()); },
       {"LumoraSDK-Actin name should be a valid string. Failed to report action ."}},
      {"associateLead(null)",
       [](Lumora& l) { l.associateLead(nullptr); },
       {"LumoraSDK-Please set valid user attributes"}},
  };
  for (const auto& test : cases) {
    host.log.clear();
    test.call(lumora());
    EXPECT_EQ(log(), test.lines) << test.name;
    EXPECT_EQ(host.queues.pendingCount(), 0U) << test.name;
  }
}

TEST_F(TrackingTest, callsBeforeInitialisationWarnAndAreServedAllTheSame) {
  for (const Operation& operation : operations) {
    host.log.clear();
    const std::size_t before = host.queues.pendingCount();
    operation.call(lumora());
    EXPECT_EQ(log(), Texts{warning}) << operation.name;
    EXPECT_EQ(host.queues.pendingCount() - before, operation.queued) << operation.name;
  }
}

TEST_F(TrackingTest, callsDuringAndAfterInitialisationDoNotWarn) {
  lumora().initializeWithTarrowID(account, secret);
  for (const Operation& operation : operations) operation.call(lumora());
  host.queues.runAll();
  for (const Operation& operation : operations) operation.call(lumora());
  EXPECT_EQ(logWith("warning"), Texts());
}

TEST_F(TrackingTest, recordsMadeBeforeInitialisationAreSentByIt) {
  lumora().reportAction("early");
  host.queues.runAll();
  lumora().initializeWithTarrowID(account, secret);
  lumora().reportAction("queued behind");
  host.queues.runAll();
  const auto sent = host.urlLoader.requests();
  ASSERT_EQ(sent.size(), 2U);  // The configuration, and one upload: the gate holds back the next.
  const Texts events = lines(sent[1].body);
  ASSERT_EQ(events.size(), 4U) << sent[1].body;
  EXPECT_EQ(events[1], action("early"));
  EXPECT_NE(events[2].find(R"("event_type":"init")"), std::string::npos);  // Due again since the fetch.
  EXPECT_EQ(storedEvents(), Texts{action("queued behind")});
}

TEST_F(TrackingTest, onlyALeadForcesAnUpload) {
  enum Upload { never, gated, forced };
  const std::pair<const char*, Upload> uploads[] = {
      {"startSession", never},           {"endSession", gated},
      {"endAllSessionsWithType", gated}, {"endAllSessionsWithType(null)", gated},
      {"discardAllSessions", never},     {"reportAction", gated},
      {"associateLead", forced}};
  initialise();
  // Something to send is always there: it is refused, and so it stays.
  host.urlLoader.setHandler([](const URLRequest&) { return URLResponse{200, {}, "{}", std::nullopt}; });
  logger().reportPushDelivered("c");
  for (std::size_t i = 0; i < std::size(operations); ++i) {
    ASSERT_STREQ(operations[i].name, uploads[i].first);
    for (const double elapsed : {1.0, 5.0}) {
      host.settings.setObject("lmro.LastReport", host.clock.now());
      advance(elapsed);
      forget();
      operations[i].call(lumora());
      EXPECT_EQ(requests(), Texts()) << operations[i].name;
      host.queues.runAll();
      const bool uploaded = uploads[i].second == forced || (uploads[i].second == gated && elapsed == 5.0);
      EXPECT_EQ(requests(), uploaded ? Texts{post} : Texts())
          << operations[i].name << " after " << elapsed << " s";
    }
  }
}

TEST_F(TrackingTest, actionsKeepTheirOrderAndMetadata) {
  initialise();
  auto metaData = std::make_shared<LumoraActionMetaData>();
  metaData->setType("purchase");
  metaData->setMetric(2.5);
  lumora().reportAction("a");
  lumora().reportAction("b", std::make_shared<LumoraActionMetaData>());
  lumora().reportAction("c", metaData);
  host.queues.runAll();
  EXPECT_EQ(storedEvents(), (Texts{action("a"), action("b", "{}"),
                                   action("c", R"({"Action Metric":2.5,"Action Type":"purchase"})")}));
}

TEST_F(TrackingTest, recordsAreReadWhenTheirTaskRuns) {
  initialise();
  auto metaData = std::make_shared<LumoraActionMetaData>();
  auto lead = std::make_shared<LumoraLead>();
  metaData->setType("before");
  lead->setCity("before");
  lumora().reportAction("a", metaData);
  lumora().associateLead(lead);
  metaData->setActionMetadata({{"Action Details", "after"}});
  lead->setCity("after");
  host.queues.runAll();
  metaData->setType("too late");
  EXPECT_EQ(host.urlLoader.requests().at(0).body,
            action("a", R"({"Action Details":"after"})") + "\n" +
                R"({"event_type":"user","timestamp":1496318400,"user":{"city":"after"}})");
}

TEST_F(TrackingTest, actionWithoutAFiniteMetricIsDropped) {
  initialise();
  auto metaData = std::make_shared<LumoraActionMetaData>();
  metaData->setMetric(std::numeric_limits<double>::quiet_NaN());
  lumora().reportAction("bad", metaData);
  lumora().reportAction("good");
  host.queues.runAll();
  EXPECT_EQ(storedEvents(), Texts{action("good")});
}

TEST_F(TrackingTest, emptyLeadIsRecorded) {
  initialise();
  lumora().associateLead(std::make_shared<LumoraLead>());
  host.queues.runAll();
  EXPECT_EQ(host.urlLoader.requests().at(0).body,
            R"({"event_type":"user","timestamp":1496318400,"user":{}})");
}

TEST_F(TrackingTest, sessionsAreTimedByTheQueue) {
  initialise();
  logger().discardAllSessions();
  lumora().startSession("b");
  lumora().startSession("a");
  host.queues.runAll();
  advance(2);
  lumora().endSession("b");
  advance(1);
  host.queues.runAll();
  EXPECT_EQ(storedEvents(), Texts{session("b", 3, startSecond + 3)});
  lumora().endAllSessionsWithType("no such type");
  host.queues.runAll();
  EXPECT_EQ(storedEvents(), (Texts{session("b", 3, startSecond + 3), session("a", 3, startSecond + 3)}));
}

TEST_F(TrackingTest, discardOvertakesWhatIsQueued) {
  initialise();
  lumora().startSession("open");
  host.queues.runAll();
  lumora().startSession("queued");
  lumora().discardAllSessions();
  host.queues.runAll();
  advance(1);
  forget();
  lumora().endSession("open");
  lumora().endSession("queued");
  host.queues.runAll();
  EXPECT_EQ(storedEvents(), Texts{session("queued", 1, startSecond + 1)});
  EXPECT_EQ(logWith("session not"), Texts{"LumoraSDK-open session not started."});
}

}  // namespace
}  // namespace lumora::tests
