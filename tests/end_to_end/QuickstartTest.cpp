#include <gtest/gtest.h>

#include "tests/Support/TemporaryFolder.h"
#include "tests/Support/TestFiles.h"
#include "tests/end_to_end/EventRows.h"
#include "tests/end_to_end/Process.h"

namespace lumora_end_to_end {
namespace {

using lumora::testing::modeOf;

TEST(QuickstartTest, AHostWithNothingButItsDefaultsStoresItsEventsInAFreshHome) {
  const lumora::testing::TemporaryFolder home;
  for (const std::size_t events : {1U, 2U}) {
    Process program({"/usr/bin/env", "-i", "HOME=" + home.path(), LUMORA_QUICKSTART_PROGRAM});
    ASSERT_EQ(program.waitForEnd(), 0) << program.errorText();
    const std::string documents = home / ".local/share/lumora_quickstart/Documents";
    EXPECT_EQ(modeOf(documents), 0700U);
    EXPECT_EQ(modeOf(documents + "/ostrelab.sqlite"), 0600U);
    EXPECT_EQ(namesOf(readEvents(documents + "/ostrelab.sqlite",
                                 "SELECT event FROM ostrel_events WHERE event LIKE '%level_done%'")),
              std::vector<std::string>(events, "level_done"));
  }
}

}  // namespace
}  // namespace lumora_end_to_end
