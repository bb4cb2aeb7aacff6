// A host in C from its first launch to its end: the service has what it reported, and nothing else.
#include "tests/Support/TemporaryFolder.h"
#include "tests/Support/TestFiles.h"
#include "tests/end_to_end/ServiceProcess.h"

namespace lumora_end_to_end {
namespace {

using nlohmann::json;

TEST(CLifeTest, EverythingReportedArrivesOnce) {
  const std::string campaigns = LUMORA_EXAMPLES_FOLDER "/campaigns";
  const json campaign = json::parse(lumora::testing::readFile(campaigns + "/layout1-once.json"));
  const lumora::testing::TemporaryFolder folder;
  const ServiceProcess service(folder.path(),
                               {{"acme",
                                 {{"secret", "s3cret"},
                                  {"access_key", "key"},
                                  {"config", {{"secure_mode", true}}},
                                  {"campaigns", json::array({campaign})}}}},
                               "--assets", campaigns + "/assets");
  Process host({LUMORA_C_LIFE_PROGRAM, service.hostOptions()[1], service.hostOptions()[3],
                folder.path() + "/data", LUMORA_RESOURCES_FOLDER});
  std::vector<std::string> lines;
  while (const auto line = host.readLine()) lines.push_back(*line);
  ASSERT_EQ(host.waitForEnd(), 0) << json(lines) << host.errorText();
  const std::string counting = "reported profile_created ";
  ASSERT_EQ(lines.size(), 8U) << json(lines);
  ASSERT_TRUE(lines[6].starts_with(counting)) << json(lines);
  const std::size_t repeated = std::stoul(lines[6].substr(counting.size()));
  lines[6] = counting;
  EXPECT_EQ(lines, (std::vector<std::string>{
                       "secure", "scheduled Hello", "opened http://acme.example/push", "shown, described",
                       "tapped", "opened https://acme.example/welcome", counting, "0 wait, last error 0"}));

  std::vector<std::string> received;
  for (json event : service.received()) {
    for (const char* changing : {"timestamp", "duration", "device_state"}) event.erase(changing);
    received.push_back(event.dump());
  }
  std::ranges::sort(received);
  std::vector<std::string> all{
      R"({"event_type":"init"})",
      R"({"event_type":"checkpoint","name":"lmr_app_open","type":"internal"})",
      R"({"event_type":"checkpoint","metadata":{"Action Metric":12.5,"Action Type":"purchase","items":["boots",)"
      R"({"eu":42,"note":"a\u0000b 🥾"}]},"name":"checkout","type":"custom"})",
      R"({"event_type":"checkpoint","metadata":{"stars":[5,null]},"name":"rated","type":"custom"})",
      R"({"event_type":"user","user":{"email":"ada@example.com","firstName":"Ada"}})",
      R"({"event_type":"push","push":{"push_token":"0aff0042","subtype":"init"}})",
      R"({"event_type":"push","push":{"cid":"c1","subtype":"opened"}})",
      R"({"event_type":"inapp","inapp":{"cid":"welcome","subtype":"tapped"}})",
      R"({"event_type":"session","name":"visit","type":"internal"})"};
  all.insert(all.end(), repeated, R"({"event_type":"checkpoint","name":"profile_created","type":"custom"})");
  std::ranges::sort(all);
  EXPECT_EQ(received, all);
}

}  // namespace
}  // namespace lumora_end_to_end
