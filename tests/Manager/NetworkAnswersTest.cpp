#include "lumora/Platform/JSON.h"
#include "tests/Manager/NetworkManagerFixture.h"

namespace lumora::tests {
namespace {

class NetworkAnswersTest : public NetworkManagerTest {
 protected:
  URLResponse failure(std::string domain, int code, std::string description, int statusCode = 0) const {
    return {statusCode, {}, "", TransportError{std::move(domain), code, std::move(description)}};
  }
};

TEST_F(NetworkAnswersTest, anAcceptedAnswerIsGivenUnchanged) {
  const char* const bodies[] = {
      R"({"success":true})",
      R"( {"config":{"a":[1,null,"x"]},"error_message":"none","success":true} )",
      R"({"success":false,"success":true})",
  };
  for (const char* body : bodies) {
    for (const Operation operation : operations) {
      // The status code alone does not make an answer wrong.
      for (const int status : {200, 201, 304, 404, 500}) {
        host.urlLoader.enqueue(status, body);
        const auto answer = perform(operation);
        ASSERT_TRUE(answer) << status << " " << body;
        EXPECT_EQ(Value(*answer), *parseJSON(body)) << body;
      }
    }
  }
  EXPECT_EQ(messages(), Lines());
}

TEST_F(NetworkAnswersTest, everyOtherAnswerIsLoggedAndGivesNothing) {
  const std::string notJSON = "LumoraSDK-Internal Error Occured";
  const std::string invalid = "LumoraSDK-Invalid response, please contact Lumora support.";
  const std::string deep = std::string(100000, '[') + std::string(100000, ']');
  const std::pair<std::string, std::string> cases[] = {
      {"not JSON", notJSON},
      {" ", notJSON},
      {"<html></html>", notJSON},
      {"\"text\"", notJSON},
      {"42", notJSON},
      {"true", notJSON},
      {"null", notJSON},
      {R"({"success":true)", notJSON},
      {R"({"success":tru)", notJSON},
      {R"({"success":true}})", notJSON},
      {R"({"success":true,})", notJSON},
      {"{\"success\":true,\"text\":\"\xFF\"}", notJSON},
      {std::string("{\"success\":true}\0", 17), notJSON},
      {deep, notJSON},
      {R"({"success":true,"deep":)" + deep + "}", notJSON},
      {std::string(100000, '['), notJSON},
      {"[]", invalid},
      {R"([{"success":true}])", invalid},
      {"{}", invalid},
      {R"({"success":false})", invalid},
      {R"({"success":0})", invalid},
      {R"({"success":1})", invalid},
      {R"({"success":"true"})", invalid},
      {R"({"success":null})", invalid},
      {R"({"success":[true]})", invalid},
      {R"({"Success":true})", invalid},
      {R"({"data":{"success":true}})", invalid},
      {R"({"success":false,"error_message":null})", invalid},
      {R"({"success":false,"error_message":"Wrong {} %@ secret"})", "LumoraSDK-Wrong {} %@ secret"},
      {R"({"error_message":"No account"})", "LumoraSDK-No account"},
      {R"({"success":false,"error_message":""})", "LumoraSDK-"},
      {R"({"success":false,"error_message":42})", "LumoraSDK-42"},
      {R"({"success":false,"error_message":1.5})", "LumoraSDK-1.5"},
      {R"({"success":false,"error_message":true})", "LumoraSDK-1"},
      {R"({"success":false,"error_message":["a",1]})", "LumoraSDK-" + Value(List{"a", 1}).description()},
      {R"({"success":false,"error_message":{"a":1}})",
       "LumoraSDK-" + Value(Dictionary{{"a", 1}}).description()},
  };
  for (const auto& [body, line] : cases) {
    for (const Operation operation : operations) {
      SCOPED_TRACE((operation == Operation::get ? "GET " : "POST ") + body.substr(0, 80));
      host.log.clear();
      host.urlLoader.enqueue(200, body, {{"Etag", "of a wrong answer"}});
      EXPECT_FALSE(perform(operation));
      EXPECT_EQ(messages(), Lines{line});
    }
  }
  EXPECT_TRUE(host.settings.object(kLmroEtag).isNull());
}

TEST_F(NetworkAnswersTest, anEmptyAnswerIsSilentUnlessAGETFindsNothingNew) {
  const struct {
    Operation operation;
    int status;
    Lines lines;
  } cases[] = {
      {Operation::get, 304, {"LumoraSDK-No update available"}},
      {Operation::get, 200, {}},
      {Operation::get, 500, {}},
      {Operation::post, 304, {}},
      {Operation::post, 200, {}},
  };
  for (const auto& test : cases) {
    host.log.clear();
    host.urlLoader.enqueue(test.status, "", {{"Etag", "of nothing"}});
    EXPECT_FALSE(perform(test.operation));
    EXPECT_EQ(messages(), test.lines) << test.status;
  }
  EXPECT_TRUE(host.settings.object(kLmroEtag).isNull());
}

TEST_F(NetworkAnswersTest, anAcceptedGETRemembersItsEntityTag) {
  const std::string body = R"({"success":true})";
  const struct {
    Operation operation;
    testing::FakeURLLoader::Headers headers;
    Value stored;
  } cases[] = {
      {Operation::post, {{"Etag", "posted"}}, Value()},
      {Operation::get, {}, Value()},
      {Operation::get, {{"Etag", "\"one\""}}, "\"one\""},
      {Operation::get, {}, "\"one\""},
      {Operation::post, {{"Etag", "posted"}}, "\"one\""},
      {Operation::get, {{"ETAG", "two"}}, "two"},
      {Operation::get, {{"etag", ""}}, ""},
  };
  for (const auto& test : cases) {
    host.urlLoader.enqueue(200, body, test.headers);
    EXPECT_TRUE(perform(test.operation));
    EXPECT_EQ(host.settings.object(kLmroEtag), test.stored) << test.stored.description();
    host.settings.loseUnflushedChanges();
  }
  EXPECT_TRUE(host.settings.object(kOstrelEtagDefaultsKey).isNull());
}

TEST_F(NetworkAnswersTest, transportErrorsAreLoggedReadably) {
  const std::string domain(kURLErrorDomain);
  const std::string offline = "LumoraSDK-Cannot connect to the Lumora, Please check network connectivity.";
  const std::string unreachable = "LumoraSDK-Cannot connect to Lumora.";
  const std::pair<URLResponse, std::string> cases[] = {
      {failure(domain, -1009, "cause"), offline},
      {failure(domain, -1004, "cause"), unreachable},
      {failure(domain, -1003, "cause"), unreachable},
      {failure(domain, -1001, "The request timed out."), "LumoraSDK-The request timed out."},
      {failure(domain, -1, "cause {}"), "LumoraSDK-cause {}"},
      {failure(domain, 1009, "cause"), "LumoraSDK-cause"},
      {failure("OtherDomain", -1009, "cause"), "LumoraSDK-cause"},
  };
  for (const auto& [response, line] : cases) {
    for (const Operation operation : operations) {
      host.log.clear();
      host.urlLoader.enqueue(response);
      EXPECT_FALSE(perform(operation));
      EXPECT_EQ(messages(), Lines{line}) << response.error->domain << " " << response.error->code;
    }
  }

  // A transfer that broke off has both an error and a body.
  URLResponse broken = failure(domain, -1005, "The connection was lost.", 200);
  broken.body = R"({"success":true})";
  for (const Operation operation : operations) {
    host.log.clear();
    host.urlLoader.enqueue(broken);
    EXPECT_FALSE(perform(operation));
    EXPECT_EQ(messages(), Lines{"LumoraSDK-The connection was lost."});
  }

  host.log.clear();
  host.urlLoader.enqueue(failure(domain, -1005, "The connection was lost.", 304));
  EXPECT_FALSE(perform(Operation::get));
  EXPECT_EQ(messages(), Lines{"LumoraSDK-No update available"});
}

TEST_F(NetworkAnswersTest, theHostMayWordTheErrorsItsOwnWay) {
  host.bundle.setLocalizedString("Cannot connect to the Lumora, Please check network connectivity.",
                                 "Pas de r\xC3\xA9seau");
  host.bundle.setLocalizedString("Cannot connect to Lumora.", "Pas de service");
  for (const int code : {-1009, -1004, -1003, -1001}) {
    host.urlLoader.enqueueError(code, "Cannot connect to Lumora.");
    perform(Operation::get);
  }
  EXPECT_EQ(messages(), (Lines{"LumoraSDK-Pas de r\xC3\xA9seau", "LumoraSDK-Pas de service",
                               "LumoraSDK-Pas de service", "LumoraSDK-Cannot connect to Lumora."}));
  manager().printErrorMessage(std::nullopt);
  EXPECT_EQ(messages().size(), 4U);
}

}  // namespace
}  // namespace lumora::tests
