// Takes the measures named on the command line, all of them without a name, and prints one table.
//
//     lumora-bench [--library FILE] [MEASURE…]
//
// With --library the table tells that file's size, which should be the stripped shared library. The exit
// status is 1 when a goal is not met or a measure could not be taken. Files go to $TMPDIR; it decides whose
// disk is measured. Each measure runs in a process of its own, as does the work that it wants done in a fresh
// one: then this program starts itself with --role.
#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>
#include <exception>
#include <filesystem>
#include <iostream>
#include <string>
#include <vector>

#include "bench/Child.h"
#include "bench/Report.h"
#include "bench/Roles.h"
#include "tests/Support/TemporaryFolder.h"

namespace {

using lumora_bench::Report;
using nlohmann::json;

constexpr int kExitUsage = 64;

struct Options {
  std::string library;
  std::vector<std::string> measures;
};

/// Every measure is a role, too.
json play(const std::string& role, const json& arguments) {
  for (const auto& measure : lumora_bench::allMeasures()) {
    if (role == measure.name) return toJSON(measure.run(arguments.at("folder")));
  }
  for (const auto& other : lumora_bench::allRoles()) {
    if (role == other.name) return other.run(arguments);
  }
  throw std::runtime_error("there is no role " + role);
}

/// Ends without destructors: the library's queues may still be at work.
[[noreturn]] void playAndEnd(const std::string& role, const std::string& arguments) {
  try {
    lumora_bench::giveResult(play(role, json::parse(arguments)));
  } catch (const std::exception& error) {
    std::cerr << role << ": " << error.what() << '\n';
    ::_exit(1);
  }
  ::_exit(0);
}

void add(const Report& part, Report& whole) {
  whole.rows.insert(whole.rows.end(), part.rows.begin(), part.rows.end());
  whole.notes.insert(whole.notes.end(), part.notes.begin(), part.notes.end());
}

Report measureLibrarySize(const std::string& file) {
  constexpr double bytesPerKilobyte = 1000;
  constexpr double largest = 440;
  const auto size = static_cast<double>(std::filesystem::file_size(file)) / bytesPerKilobyte;
  return {
      .rows = {{.measure = "stripped shared library", .unit = "KB", .value = size, .maximumValue = largest}}};
}

bool isWanted(const Options& options, const std::string& measure) {
  return options.measures.empty() || std::ranges::find(options.measures, measure) != options.measures.end();
}

/// False when a measure could not be taken.
bool takeMeasures(const Options& options, Report& whole) {
  bool areAllTaken = true;
  for (const auto& measure : lumora_bench::allMeasures()) {
    if (!isWanted(options, measure.name)) continue;
    std::cerr << "measuring " << measure.name << '\n';
    try {
      const lumora::testing::TemporaryFolder folder;
      add(lumora_bench::reportFromJSON(lumora_bench::runInChild(measure.name, {{"folder", folder.path()}})),
          whole);
    } catch (const std::exception& error) {
      std::cerr << "lumora-bench: " << error.what() << '\n';
      areAllTaken = false;
    }
  }
  return areAllTaken;
}

Options parseOptions(int count, char** arguments) {
  Options options;
  for (int i = 1; i < count; ++i) {
    const std::string word = arguments[i];
    if (word == "--library" && i + 1 < count) {
      options.library = arguments[++i];
    } else {
      options.measures.push_back(word);
    }
  }
  return options;
}

bool isMeasure(const std::string& name) {
  return std::ranges::any_of(lumora_bench::allMeasures(),
                             [&](const auto& measure) { return name == measure.name; });
}

}  // namespace

int main(int argc, char** argv) {
  if (argc == 4 && std::string(argv[1]) == "--role") playAndEnd(argv[2], argv[3]);
  const Options options = parseOptions(argc, argv);
  if (const auto unknown = std::ranges::find_if_not(options.measures, isMeasure);
      unknown != options.measures.end()) {
    std::cerr << "lumora-bench: there is no measure " << *unknown << "; there are:\n";
    for (const auto& measure : lumora_bench::allMeasures()) std::cerr << "  " << measure.name << '\n';
    return kExitUsage;
  }
  Report report;
  bool isGood = takeMeasures(options, report);
  if (!options.library.empty()) add(measureLibrarySize(options.library), report);
  std::cout << tableText(report);
  isGood =
      isGood && std::ranges::all_of(report.rows, [](const auto& row) { return row.isMet().value_or(true); });
  return isGood ? 0 : 1;
}
