#include "lumora/Facade/LumoraActionMetaData.h"
#include "lumora/Facade/LumoraLead.h"
#include "tests/Facade/LumoraFixture.h"

namespace lumora::tests {
namespace {

using TrackingTest = LumoraTest;

enum Upload { never, gated, forced };

/// Its name, the call, how many tasks that queues, and whether they upload.
using Operation = std::tuple<const char*, std::function<void(Lumora&)>, std::size_t, Upload>;

const Operation operations[] = {
    {"startSession", [](Lumora& l) { l.startSession("level"); }, 1, never},
    {"endSession", [](Lumora& l) { l.endSession("level"); }, 1, gated},
    {"endAllSessionsWithType", [](Lumora& l) { l.endAllSessionsWithType(std::nullopt); }, 1, gated},
    {"discardAllSessions", [](Lumora& l) { l.discardAllSessions(); }, 0, never},
    {"reportAction", [](Lumora& l) { l.reportAction("a"); }, 1, gated},
    {"associateLead", [](Lumora& l) { l.associateLead(std::make_shared<LumoraLead>()); }, 1, forced},
};

TEST_F(TrackingTest, callsBeforeInitialisationWarnAndAreServedAllTheSame) {
  for (const auto& [name, call, queued, upload] : operations) {
    host.log.clear();
    const std::size_t before = host.queues.pendingCount();
    call(lumora());
    EXPECT_EQ(log(), Texts{"LumoraSDK-[warning] is not initialized. Initialize Framwork using "
                           "initializeWithTarrowID:appSecret: method."})
        << name;
    EXPECT_EQ(host.queues.pendingCount() - before, queued) << name;
  }
  forget();
  const std::size_t before = host.queues.pendingCount();
  for (const std::optional<std::string>& name : {std::optional(std::string()), {}}) {
    lumora().startSession(name);
    lumora().endSession(name);
    lumora().reportAction(name);
  }
  EXPECT_EQ(host.queues.pendingCount(), before);
  EXPECT_EQ(log().at(0), "LumoraSDK-Actin name should be a valid string. Failed to report action .");
  lumora().initializeWithTarrowID(account, secret);
  for (const Operation& operation : operations) std::get<1>(operation)(lumora());
  host.queues.runAll();
  for (const Operation& operation : operations) std::get<1>(operation)(lumora());
  EXPECT_EQ(logWith("[warning]"), Texts());
}

TEST_F(TrackingTest, onlyALeadForcesAnUpload) {
  initialise();
  // Something to send is always there: it is refused, and so it stays.
  host.urlLoader.setHandler([](const URLRequest&) { return URLResponse{200, {}, "{}", std::nullopt}; });
  logger().reportPushDelivered("c");
  for (const auto& [name, call, queued, upload] : operations) {
    for (const double elapsed : {1.0, 5.0}) {
      host.settings.setObject("lmro.LastReport", host.clock.now());
      advance(elapsed);
      forget();
      call(lumora());
      host.queues.runAll();
      const bool isUploaded = upload == forced || (upload == gated && elapsed == 5.0);
      EXPECT_EQ(requests(), isUploaded ? Texts{uploadRequest} : Texts()) << name << " after " << elapsed;
    }
  }
}

TEST_F(TrackingTest, recordsKeepTheirOrderAndAreReadWhenTheirTaskRuns) {
  initialise();
  auto metaData = std::make_shared<LumoraActionMetaData>();
  auto lead = std::make_shared<LumoraLead>();
  metaData->setType("before");
  lead->setCity("before");
  lumora().reportAction("a");
  lumora().reportAction("b", std::make_shared<LumoraActionMetaData>());
  lumora().reportAction("c", metaData);
  lumora().associateLead(lead);
  metaData->setActionMetadata({{"Action Details", "after"}});
  lead->setCity("after");
  host.queues.runAll();
  EXPECT_EQ(
      lines(host.urlLoader.requests().at(0).body),
      (Texts{actionEvent("a"), actionEvent("b", "{}"), actionEvent("c", R"({"Action Details":"after"})"),
             R"({"event_type":"user","timestamp":1496318400,"user":{"city":"after"}})"}));
}

TEST_F(TrackingTest, sessionsAreTimedByTheQueueAndDiscardOvertakesIt) {
  initialise();
  lumora().startSession("a");
  host.queues.runAll();
  lumora().startSession("queued");
  lumora().discardAllSessions();
  host.queues.runAll();
  advance(1);
  lumora().endSession("a");
  lumora().endAllSessionsWithType("no such type");
  advance(2);
  host.queues.runAll();
  EXPECT_EQ(storedEvents(), Texts{sessionEvent("queued", 3, startSecond + 3)});
  EXPECT_EQ(logWith("session not"), Texts{"LumoraSDK-a session not started."});
}

using Text = std::optional<std::string>;
using Lead = LumoraLead;
using MetaData = LumoraActionMetaData;

/// Empty texts are ignored; of the others the last one stays.
const Text texts[] = {"first", " last ", "", std::nullopt};

TEST(LumoraLeadTest, everySetterHasItsKeyAndTheMapIsReplacedAsAWhole) {
  // clang-format off
  const std::pair<const char*, void (Lead::*)(const Text&)> setters[] = {
      {"gender", &Lead::setGender}, {"firstName", &Lead::setFirstName}, {"lastName", &Lead::setLastName},
      {"address", &Lead::setAddress}, {"city", &Lead::setCity}, {"state", &Lead::setState}, {"country", &Lead::setCountry},
      {"postalCode", &Lead::setPostalCode}, {"leadSource", &Lead::setLeadSource}, {"facebookId", &Lead::setFacebookId},
      {"twitterId", &Lead::setTwitterId}, {"linkedInId", &Lead::setLinkedInId}, {"dateOfBirth", &Lead::setBirthDay},
      {"facebookProfileURL", &Lead::setFacebookProfileURL}, {"facebookPhotoURL", &Lead::setFacebookProfilePicURL}};
  // clang-format on
  Lead lead;
  Dictionary expected{{"field", " last "}, {"key", " last "}, {"email", "ada@example.com"}};
  for (const Text& text : texts) {
    for (const auto& [key, setter] : setters) (lead.*setter)(text), expected[key] = " last ";
    lead.setFieldName("field", text), lead.setKey("key", text);
  }
  for (const Text& name : {Text(""), Text()}) lead.setFieldName(name, "gold"), lead.setKey(name, "gold");
  for (const Text& email : {Text("ada@example.com"), Text("ada@example"), Text(), Text("")})
    lead.setEmail(email);
  EXPECT_EQ(Value(lead.userData()), Value(expected));
  lead.setUserAttributes({{"state", "x"}});
  EXPECT_EQ(Value(lead.userData()), Value(Dictionary{{"state", "x"}}));
}

TEST(LumoraActionMetaDataTest, everySetterHasItsKeyAndTheMapIsReplacedAsAWhole) {
  MetaData metaData;
  for (const Text& text : texts)
    metaData.setType(text), metaData.setDetails(text), metaData.setKey("own", text);
  for (const Text& key : {Text(""), Text()}) metaData.setKey(key, "value");
  metaData.setMetric(nullptr);
  EXPECT_EQ(writeJSON(metaData.actionMetadata()),
            R"({"Action Details":" last ","Action Type":" last ","own":" last "})");
  metaData.setActionMetadata({{"own", 1}});
  metaData.setMetric(-2.5);
  metaData.setLength(9007199254740993LL);
  metaData.setLength(nullptr);
  EXPECT_EQ(writeJSON(metaData.actionMetadata()),
            R"({"Action Length":9007199254740993,"Action Metric":-2.5,"own":1})");
}

}  // namespace
}  // namespace lumora::tests
