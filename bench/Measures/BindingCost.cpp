// What an action with four details costs its caller's thread in the runtimes of other languages. Their hosts,
// beside the plain ones in Hosts/, measure themselves and print the median.
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <stdexcept>
#include <string>

#include "bench/LocalService.h"
#include "bench/Roles.h"

namespace lumora_bench {
namespace {

/// The command is empty when the language's package was not built.
struct Language {
  const char* name;
  const char* command;
  double maximum;
};

constexpr Language kLanguages[] = {
    {"Java", LUMORA_BENCH_JAVA, 10}, {"C#", LUMORA_BENCH_CSHARP, 10}, {"Python", LUMORA_BENCH_PYTHON, 20}};

double printedBy(const std::string& command) {
  const std::unique_ptr<std::FILE, int (*)(std::FILE*)> output(::popen(command.c_str(), "r"), ::pclose);
  double median = 0;
  if (output == nullptr || std::fscanf(output.get(), "%lf", &median) != 1) {
    throw std::runtime_error("no median from: " + command);
  }
  return median;
}

}  // namespace

Report measureBindingCost(const std::string& folder) {
  // An action before the initialisation would cost a warning too, which goes to the host's log.
  const LocalService service(folder + "/service");
  ::setenv("LUMORA_CONNECT_TO", service.address().c_str(), 1);
  ::setenv("LUMORA_CERTIFICATES", service.authorityFile().c_str(), 1);
  for (const char* variable : {"HOME", "XDG_DATA_HOME", "XDG_CACHE_HOME"}) {
    ::setenv(variable, folder.c_str(), 1);
  }
  Report report;
  for (const Language& language : kLanguages) {
    const std::string name = std::string("reportAction with four details, ") + language.name;
    if (*language.command == '\0') {
      report.notes.push_back(name +
                             ": its package was not built, scripts/packages/bindings names the tools.");
      continue;
    }
    report.rows.push_back({.measure = name,
                           .unit = "µs",
                           .value = printedBy(language.command),
                           .maximumValue = language.maximum});
  }
  return report;
}

}  // namespace lumora_bench
