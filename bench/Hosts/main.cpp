// A small host of the shared library, or of plain SQLite and plain libcurl, as the sources beside this one
// are linked. It goes through its life and tells what the process holds and does meanwhile.
#include <link.h>
#include <unistd.h>

#include <chrono>
#include <exception>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <string>
#include <thread>

#include "bench/Child.h"
#include "bench/Hosts/Host.h"

namespace {

using nlohmann::json;

/// The number behind a name in a file of /proc.
long numberIn(const std::string& file, const std::string& name) {
  std::ifstream lines(file);
  for (std::string word; lines >> word;) {
    long number = 0;
    if (word == name && lines >> number) return number;
  }
  return 0;
}

/// Kilobytes that are this process's alone: heap, stacks, and what relocation has written to.
long privateDirtyMemory() {
  return numberIn("/proc/self/smaps_rollup", "Private_Dirty:");
}

/// Without the program itself and what the kernel maps.
int loadedLibraries() {
  const auto count = [](dl_phdr_info* info, std::size_t, void* data) {
    const std::string name = info->dlpi_name;
    if (name.find(".so") != std::string::npos && name.find("vdso") == std::string::npos)
      ++*static_cast<int*>(data);
    return 0;
  };
  int libraries = 0;
  ::dl_iterate_phdr(count, &libraries);
  return libraries;
}

/// How often the other threads have gone to sleep; each time something had woken them.
long wakeUps() {
  long sum = 0;
  for (const auto& thread : std::filesystem::directory_iterator("/proc/self/task")) {
    if (thread.path().filename() == std::to_string(::getpid())) continue;
    sum += numberIn(thread.path() / "status", "voluntary_ctxt_switches:");
  }
  return sum;
}

long wakeUpsDuring(std::chrono::seconds idleness) {
  const long before = wakeUps();
  std::this_thread::sleep_for(idleness);
  return wakeUps() - before;
}

json live(const json& arguments) {
  constexpr int events = 10'000;
  constexpr int eventsInUpload = 1000;
  json result{{"libraries", loadedLibraries()}};
  lumora_bench::start(arguments);
  result["started"] = privateDirtyMemory();
  lumora_bench::makeRequests();
  result["requested"] = privateDirtyMemory();
  for (int i = 0; i < events; i += eventsInUpload) lumora_bench::recordEvents(eventsInUpload);
  result["recorded"] = privateDirtyMemory();
  const std::chrono::seconds idleness(arguments.at("idleSeconds").get<int>());
  std::this_thread::sleep_for(idleness / 6);
  result["wakeUps"] = wakeUpsDuring(idleness);
  return result;
}

}  // namespace

int main(int, char** argv) try {
  lumora_bench::giveResult(live(json::parse(argv[3])));
  ::_exit(0);
} catch (const std::exception& error) {
  std::cerr << argv[0] << ": " << error.what() << '\n';
  ::_exit(1);
}
