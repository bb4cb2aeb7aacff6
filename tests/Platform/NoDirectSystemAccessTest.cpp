#include <gtest/gtest.h>

#include <filesystem>
#include <sstream>
#include <string>
#include <string_view>

#include "lumora/Platform/ASCII.h"
#include "tests/Support/TestFiles.h"

namespace lumora::testing {
namespace {

/// What the library's logic must ask of the platform instead. A name that ends in "(" is a call; `::` in
/// front of a call makes no difference.
constexpr const char* kForbidden = R"(
    system_clock::now steady_clock::now high_resolution_clock time( gettimeofday( clock_gettime( localtime(
    localtime_r( mktime( strftime( fstream ifstream ofstream fopen( ::open( filesystem unlink( mkdir( opendir(
    std::thread std::jthread std::async pthread_create( sleep_for sleep_until usleep( nanosleep( sleep( getenv(
    setenv( environ rand( random_device uname( gethostname( socket( system( popen( fork( std::cerr std::cout
    printf( NSLog( CFPreferences)";

bool isNameCharacter(char c) {
  return isASCIILetter(c) || isASCIIDigit(c) || c == '_';
}

/// Whether the code uses the name as it stands: not as the end of a longer name or a member's name.
bool uses(std::string_view code, std::string_view name) {
  for (auto at = code.find(name); at != std::string_view::npos; at = code.find(name, at + 1)) {
    const std::string_view before = code.substr(0, at);
    const std::string_view after = code.substr(at + name.size());
    const bool isLonger = !before.empty() && isNameCharacter(before.back());
    const bool isMember = before.ends_with('.') || before.ends_with("->");
    const bool goesOn = !name.ends_with('(') && !after.empty() && isNameCharacter(after.front());
    if (!isLonger && !isMember && !goesOn) return true;
  }
  return false;
}

/// The forbidden names in a source, each with its line's number.
std::string violationsIn(const std::string& source) {
  std::istringstream lines(source);
  std::string violations, line;
  for (int number = 1; std::getline(lines, line); ++number) {
    const std::string code = line.substr(0, line.find("// "));
    std::istringstream names(kForbidden);
    for (std::string name; names >> name;) {
      if (uses(code, name)) violations += std::to_string(number) + ":" + name + " ";
    }
  }
  return violations;
}

TEST(NoDirectSystemAccessTest, LogicReachesTheSystemOnlyThroughThePlatform) {
  const std::filesystem::path root(LUMORA_SOURCE_FOLDER);
  int files = 0;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(root)) {
    const std::string name = entry.path().lexically_relative(root).generic_string();
    const bool isPlatform = name.starts_with("Platform/Linux/") || name.starts_with("Testing/");
    if (isPlatform || !(name.ends_with(".cpp") || name.ends_with(".h"))) continue;
    ++files;
    EXPECT_EQ(violationsIn(readFile(entry.path())), "") << name << " asks the system directly";
  }
  EXPECT_GT(files, 20) << "the sources were not found";
}

TEST(NoDirectSystemAccessTest, SeesCodeAndNothingElse) {
  // clang-format off
  const std::pair<const char*, const char*> cases[] = {
      {"auto t = std::chrono::system_clock::now();", "1:system_clock::now "}, {"#include <fstream>", "1:fstream "},
      {"int a;\nt = ::time(nullptr) + std::time(nullptr);", "2:time( "}, {"load(\"http://a\"); getenv(b);", "1:getenv( "},
      {"message.time(); clock->time(1); runtime(1); std::threading b; // std::thread", ""}};
  // clang-format on
  for (const auto& [source, violations] : cases) EXPECT_EQ(violationsIn(source), violations) << source;
}

}  // namespace
}  // namespace lumora::testing
