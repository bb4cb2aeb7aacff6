#include <gtest/gtest.h>

#include <cstdlib>

namespace lumora::testing {
namespace {

/// Prints where the sources there name what the library's logic must ask of the platform instead; gives
/// grep's status. Comments do not count, nor do members and the ends of longer names.
int findSystemAccess(const std::string& where) {
  const std::string names =
      "(system|steady|high_resolution)_clock::now|[io]?fstream|filesystem|std::(thread|jthread|async|cerr|"
      "cout)\\b|"
      "sleep_(for|until)|environ\\b|random_device|(time|gettimeofday|clock_gettime|localtime(_r)?|mktime|"
      "strftime|"
      "(f|::)open|unlink|mkdir|opendir|pthread_create|[un]?(nano)?sleep|[gs]etenv|rand|uname|gethostname|"
      "socket|"
      "system|popen|fork|printf)\\(";
  const std::string command = "cd '" LUMORA_SOURCE_FOLDER "' && grep -rnE --include='*.cpp' --include='*.h' ";
  const std::string before = "^([^/]|/[^/]|//[^/ ])*(^|[^A-Za-z0-9_.>])";
  return WEXITSTATUS(std::system((command + "'" + before + "(" + names + ")' " + where).c_str()));
}

TEST(NoDirectSystemAccessTest, LogicReachesTheSystemOnlyThroughThePlatform) {
  constexpr int found = 0, foundNothing = 1;
  EXPECT_EQ(findSystemAccess("--exclude-dir=Linux --exclude-dir=Testing ."), foundNothing);
  EXPECT_EQ(findSystemAccess("Platform/Linux/Host/LinuxDevice.cpp"), found);
}

}  // namespace
}  // namespace lumora::testing
