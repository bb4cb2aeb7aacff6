#include <map>
#include <tuple>
#include <utility>

#include "lumora/Platform/JSON.h"
#include "tests/Manager/NetworkManagerFixture.h"

namespace lumora::tests {
namespace {

using NetworkAnswersTest = NetworkManagerTest;

TEST_F(NetworkAnswersTest, anAcceptedAnswerIsGivenUnchanged) {
  for (const char* body :
       {R"( {"config":{"a":[1,null,"x"]},"error_message":"none","success":true} )",
        R"({"success":false,"success":true})", R"({"success":1})", R"({"success":-0.5})"}) {
    for (const Operation operation : operations) {
      // The status code alone does not make an answer wrong.
      for (const int status : {200, 304, 404, 500}) {
        host.urlLoader.enqueue(status, body);
        EXPECT_TRUE(perform(operation) == *parseJSON(body)->asDictionary()) << status << " " << body;
      }
    }
  }
  EXPECT_EQ(messages(), Lines());
}

TEST_F(NetworkAnswersTest, everyOtherAnswerIsLoggedAndGivesNothing) {
  const std::string deep = std::string(100000, '[') + std::string(100000, ']');
  const std::map<std::string, Lines> bodiesByLine = {
      {"Internal Error Occured",
       {"not JSON", " ", "<html></html>", "\"text\"", "42", "true", "null", R"({"success":true)",
        R"({"success":tru)", R"({"success":true}})", R"({"success":true,})",
        "{\"success\":true,\"text\":\"\xFF\"}", std::string("{\"success\":true}\0", 17), deep,
        R"({"success":true,"deep":)" + deep + "}", std::string(100000, '[')}},
      {"Invalid response, please contact Lumora support.",
       {"[]", R"([{"success":true}])", "{}", R"({"success":false})", R"({"success":0})",
        R"({"success":-0.0})", R"({"success":"true"})", R"({"success":null})", R"({"success":[true]})",
        R"({"Success":true})", R"({"data":{"success":true}})", R"({"success":false,"error_message":null})"}},
      {"Wrong {} %@ secret", {R"({"success":false,"error_message":"Wrong {} %@ secret"})"}},
      {"", {R"({"error_message":""})"}},
      {"42", {R"({"success":false,"error_message":42})"}},
      {Value(List{"a", 1}).description(), {R"({"success":false,"error_message":["a",1]})"}},
  };
  for (const auto& [line, bodies] : bodiesByLine) {
    for (const std::string& body : bodies) {
      for (const Operation operation : operations) {
        SCOPED_TRACE((operation == Operation::get ? "GET " : "POST ") + body.substr(0, 80));
        host.log.clear();
        host.urlLoader.enqueue(200, body, {{"Etag", "of a wrong answer"}});
        EXPECT_FALSE(perform(operation));
        EXPECT_EQ(messages(), Lines{"LumoraSDK-" + line});
      }
    }
  }
  EXPECT_TRUE(host.settings.object(kLmroEtag).isNull());
}

TEST_F(NetworkAnswersTest, anEmptyAnswerIsSilentUnlessAGETFindsNothingNew) {
  for (const Operation operation : operations) {
    for (const int status : {200, 304, 500}) {
      host.log.clear();
      host.urlLoader.enqueue(status, "", {{"Etag", "of nothing"}});
      EXPECT_FALSE(perform(operation));
      const bool isNothingNew = status == 304 && operation == Operation::get;
      EXPECT_EQ(messages(), isNothingNew ? Lines{"LumoraSDK-No update available"} : Lines()) << status;
    }
  }
  EXPECT_TRUE(host.settings.object(kLmroEtag).isNull());
}

TEST_F(NetworkAnswersTest, anAcceptedGETRemembersItsEntityTag) {
  const std::tuple<Operation, testing::FakeURLLoader::Headers, Value> cases[] = {
      {Operation::post, {{"Etag", "posted"}}, Value()},   {Operation::get, {}, Value()},
      {Operation::get, {{"Etag", "\"one\""}}, "\"one\""}, {Operation::get, {}, "\"one\""},
      {Operation::get, {{"ETAG", "two"}}, "two"},         {Operation::get, {{"etag", ""}}, ""},
  };
  for (const auto& [operation, headers, stored] : cases) {
    host.urlLoader.enqueue(200, R"({"success":true})", headers);
    EXPECT_TRUE(perform(operation));
    host.settings.loseUnflushedChanges();
    EXPECT_EQ(host.settings.object(kLmroEtag), stored) << stored.description();
  }
}

TEST_F(NetworkAnswersTest, transportErrorsAreLoggedReadably) {
  const std::string domain(kURLErrorDomain);
  host.bundle.setLocalizedString("Cannot connect to the Lumora, Please check network connectivity.",
                                 "Pas de r\xC3\xA9seau");
  const std::pair<TransportError, std::string> cases[] = {
      {{domain, -1009, "cause"}, "Pas de r\xC3\xA9seau"},
      {{domain, -1004, "cause"}, "Cannot connect to Lumora."},
      {{domain, -1003, "cause"}, "Cannot connect to Lumora."},
      {{domain, -1001, "The request timed out."}, "The request timed out."},
      {{domain, -1, "cause {}"}, "cause {}"},
      {{"OtherDomain", -1009, "cause"}, "cause"},
  };
  for (const auto& [error, line] : cases) {
    for (const Operation operation : operations) {
      host.log.clear();
      // A transfer that broke off has both an error and a body.
      host.urlLoader.enqueue(URLResponse{200, {}, R"({"success":true})", error});
      EXPECT_FALSE(perform(operation));
      EXPECT_EQ(messages(), Lines{"LumoraSDK-" + line}) << error.domain << " " << error.code;
    }
  }
}

}  // namespace
}  // namespace lumora::tests
