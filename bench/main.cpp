// Takes the measures named on the command line, all of them without a name, and prints one table.
//
//     lumora-bench [MEASURE…]
//
// $LUMORA_BENCH_SHARED is the build of the shared library and of the hosts that belong to it, which some
// measures want. The exit status is 1 when a goal is not met or a measure could not be taken. Files go to
// $TMPDIR; it decides whose disk is measured. Each measure runs in a process of its own, as does the work
// that it wants done in a fresh one: then this program starts itself with --role.
#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>
#include <exception>
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

using Names = std::vector<std::string>;

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

bool isWanted(const Names& wanted, const std::string& measure) {
  return wanted.empty() || std::ranges::find(wanted, measure) != wanted.end();
}

/// False when a measure could not be taken.
bool takeMeasures(const Names& wanted, Report& whole) {
  bool areAllTaken = true;
  for (const auto& measure : lumora_bench::allMeasures()) {
    if (!isWanted(wanted, measure.name)) continue;
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

bool isMeasure(const std::string& name) {
  return std::ranges::any_of(lumora_bench::allMeasures(),
                             [&](const auto& measure) { return name == measure.name; });
}

}  // namespace

int main(int argc, char** argv) {
  if (argc == 4 && std::string(argv[1]) == "--role") playAndEnd(argv[2], argv[3]);
  const Names wanted(argv + 1, argv + argc);
  if (const auto unknown = std::ranges::find_if_not(wanted, isMeasure); unknown != wanted.end()) {
    std::cerr << "lumora-bench: there is no measure " << *unknown << "; there are:\n";
    for (const auto& measure : lumora_bench::allMeasures()) std::cerr << "  " << measure.name << '\n';
    return kExitUsage;
  }
  Report report;
  bool isGood = takeMeasures(wanted, report);
  std::cout << tableText(report);
  isGood =
      isGood && std::ranges::all_of(report.rows, [](const auto& row) { return row.isMet().value_or(true); });
  return isGood ? 0 : 1;
}
