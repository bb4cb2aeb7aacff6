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

  const Events events = service.received();
  std::vector<std::string> names = namesOf(events);
  std::ranges::sort(names);
  std::vector<std::string> all{"checkout", "rated", "visit"};
  all.insert(all.end(), repeated, "profile_created");
  std::ranges::sort(all);
  EXPECT_EQ(names, all) << json(events).dump(1);
}

}  // namespace
}  // namespace lumora_end_to_end
