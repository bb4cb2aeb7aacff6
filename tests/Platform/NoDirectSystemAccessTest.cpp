#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "lumora/Platform/ASCII.h"
#include "tests/Support/TestFiles.h"

namespace lumora::testing {
namespace {

namespace fs = std::filesystem;

/// What the library's logic must ask of the platform instead. A name that ends in "(" is a call; `::` in
/// front of a call makes no difference.
constexpr std::string_view kForbidden[] = {
    "system_clock::now",
    "steady_clock::now",
    "high_resolution_clock",
    "time(",
    "gettimeofday(",
    "clock_gettime(",
    "localtime(",
    "localtime_r(",
    "mktime(",
    "strftime(",
    "fstream",
    "ifstream",
    "ofstream",
    "fopen(",
    "::open(",
    "filesystem",
    "unlink(",
    "mkdir(",
    "opendir(",
    "std::thread",
    "std::jthread",
    "std::async",
    "pthread_create(",
    "sleep_for",
    "sleep_until",
    "usleep(",
    "nanosleep(",
    "sleep(",
    "getenv(",
    "setenv(",
    "environ",
    "rand(",
    "random_device",
    "uname(",
    "gethostname(",
    "socket(",
    "system(",
    "popen(",
    "fork(",
    "std::cerr",
    "std::cout",
    "printf(",
    "NSLog(",
    "CFPreferences",
};

bool isNameCharacter(char c) {
  return isASCIILetter(c) || isASCIIDigit(c) || c == '_';
}

/// The source with comments and the insides of literals blanked out; lines stay where they are.
std::string codeOf(std::string source) {
  enum class In { code, lineComment, blockComment, text, character } in = In::code;
  for (std::size_t i = 0; i < source.size(); ++i) {
    const std::string_view here = std::string_view(source).substr(i, 2);
    const char c = source[i];
    if (c == '\n') {
      if (in == In::lineComment) in = In::code;
      continue;
    }
    if (in == In::code) {
      // An apostrophe after a digit separates digits.
      const bool isSeparator = c == '\'' && i > 0 && isNameCharacter(source[i - 1]);
      if (here == "//") in = In::lineComment;
      if (here == "/*") in = In::blockComment;
      if (c == '"') in = In::text;
      if (c == '\'' && !isSeparator) in = In::character;
      continue;
    }
    const bool ends = (in == In::text && c == '"') || (in == In::character && c == '\'') ||
                      (in == In::blockComment && i > 0 && source[i - 1] == '*' && c == '/');
    if (c == '\\' && (in == In::text || in == In::character)) source[i++ + 1] = ' ';
    if (ends) in = In::code;
    if (!ends || in == In::blockComment) source[i] = in == In::blockComment && c == '*' ? '*' : ' ';
  }
  return source;
}

/// Whether the code uses the name as it stands: not as the end of a longer name or a member's name.
bool uses(std::string_view line, std::string_view name) {
  for (auto at = line.find(name); at != std::string_view::npos; at = line.find(name, at + 1)) {
    const std::string_view before = line.substr(0, at);
    const char after = at + name.size() < line.size() ? line[at + name.size()] : ' ';
    const bool isOwnName = before.empty() || !isNameCharacter(before.back());
    const bool isMember = before.ends_with('.') || before.ends_with("->");
    const bool endsThere = name.ends_with('(') || !isNameCharacter(after);
    if (isOwnName && !isMember && endsThere) return true;
  }
  return false;
}

std::vector<std::string> violationsIn(const std::string& file, const std::string& source) {
  std::vector<std::string> violations;
  std::size_t number = 0;
  const std::string code = codeOf(source);
  for (std::size_t start = 0; start < code.size(); ++number) {
    const std::size_t end = std::min(code.find('\n', start), code.size());
    const std::string_view line = std::string_view(code).substr(start, end - start);
    start = end + 1;
    for (const std::string_view name : kForbidden) {
      if (uses(line, name))
        violations.push_back(file + ":" + std::to_string(number + 1) + ": " + std::string(name));
    }
  }
  return violations;
}

bool isLogic(const fs::path& path, const fs::path& root) {
  const std::string relative = path.lexically_relative(root).generic_string();
  const bool isPlatform = relative.starts_with("Platform/Linux/") || relative.starts_with("Testing/");
  return !isPlatform && (path.extension() == ".cpp" || path.extension() == ".h");
}

TEST(NoDirectSystemAccessTest, LogicReachesTheSystemOnlyThroughThePlatform) {
  const fs::path root(LUMORA_SOURCE_FOLDER);
  int files = 0;
  for (const auto& entry : fs::recursive_directory_iterator(root)) {
    if (!entry.is_regular_file() || !isLogic(entry.path(), root)) continue;
    ++files;
    for (const std::string& violation :
         violationsIn(entry.path().string(), readFile(entry.path().string()))) {
      ADD_FAILURE() << violation << " belongs behind a platform interface";
    }
  }
  EXPECT_GT(files, 20) << "the sources were not found";
}

TEST(NoDirectSystemAccessTest, SeesCodeAndNothingElse) {
  const std::pair<const char*, std::size_t> cases[] = {
      {"auto t = std::chrono::system_clock::now();", 1},
      {"auto t = ::time(nullptr);", 1},
      {"auto t = std::time(nullptr);", 1},
      {"auto t = message.time();", 0},
      {"auto t = clock->time(1);", 0},
      {"runtime(1);", 0},
      {"// std::thread\n", 0},
      {"/* std::thread\n std::thread */ int a;", 0},
      {"/* a */ std::thread b;", 1},
      {"log(\"std::thread \\\" getenv(\");", 0},
      {"char a = '\"'; std::thread b; char c = '\\'';", 1},
      {"int a = 1'000; std::thread b; int c = 2'000;", 1},
      {"#include <fstream>", 1},
      {"std::thread::id a; std::threading b;", 1},
      {"int a;\nint b = getenv(\"x\");", 1},
  };
  for (const auto& [source, count] : cases) EXPECT_EQ(violationsIn("file", source).size(), count) << source;
  EXPECT_EQ(violationsIn("f.cpp", "int a;\n\nfopen(a);\n").at(0), "f.cpp:3: fopen(");
}

}  // namespace
}  // namespace lumora::testing
