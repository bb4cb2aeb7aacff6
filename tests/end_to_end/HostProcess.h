#pragma once

#include <filesystem>
#include <nlohmann/json.hpp>
#include <sstream>

#include "tests/Storage/SQLiteConnection.h"
#include "tests/end_to_end/Process.h"

namespace lumora_end_to_end {

using Events = std::vector<nlohmann::json>;

/// The event records in the first column that a query of the database file gives.
inline Events readEvents(const std::filesystem::path& file, const std::string& query) {
  lumora::tests::SQLiteConnection database(file);
  database.run("PRAGMA busy_timeout = 10000");
  Events events;
  for (const std::string& text : database.texts(query)) events.push_back(nlohmann::json::parse(text));
  return events;
}

/// The records' names; records without one (as the client information) give their "event_type".
inline std::vector<std::string> namesOf(const Events& events) {
  std::vector<std::string> names;
  for (const nlohmann::json& event : events) names.push_back(event.value("name", event.at("event_type")));
  return names;
}

using Lines = std::vector<nlohmann::json>;

/// The words that start a host with its data and its keychain in that folder.
inline std::vector<std::string> hostCommand(const std::filesystem::path& folder,
                                            const std::vector<std::string>& options = {}) {
  std::vector<std::string> command{LUMORA_HOST_PROGRAM, "--data", folder / "data", "--keychain",
                                   folder / "keychain"};
  command.insert(command.end(), options.begin(), options.end());
  return command;
}

/// Every line that is left.
inline Lines readToEnd(Process& process) {
  Lines lines;
  while (const auto line = process.readLine()) lines.push_back(nlohmann::json::parse(*line));
  return lines;
}

/// The event records that wait in the database of the host on that folder, oldest first.
inline Events storedEvents(const std::filesystem::path& folder) {
  return readEvents(folder / "data/Documents/ostrelab.sqlite",
                    "SELECT event FROM ostrel_events ORDER BY _id");
}

/// A running lumora-host. Another one made on the same folder is the same application's next start.
class HostProcess {
 public:
  explicit HostProcess(const std::filesystem::path& folder, const std::vector<std::string>& options = {})
      : process_(hostCommand(folder, options)) {
    const auto line = process_.readLine();
    if (line != R"({"ready":true})") throw std::runtime_error("no start: " + process_.errorText());
  }

  /// Sends a command and gives every line up to and including the one that ends it ("done" or "error").
  Lines run(const std::string& command) {
    process_.write(command + "\n");
    Lines lines;
    do {
      const auto line = process_.readLine();
      if (!line) throw std::runtime_error("the host ended during: " + command + process_.errorText());
      lines.push_back(nlohmann::json::parse(*line));
    } while (!lines.back().contains("done") && !lines.back().contains("error"));
    return lines;
  }
  /// Sends a command that must succeed and gives its result; null when it has none.
  nlohmann::json result(const std::string& command) {
    const nlohmann::json last = run(command).back();
    if (!last.contains("done")) throw std::runtime_error(command + " gave " + last.dump());
    return last.value("result", nlohmann::json());
  }
  /// Sends commands that must succeed, one per line.
  void runAll(const std::string& commands) {
    std::istringstream lines(commands);
    for (std::string line; std::getline(lines, line);) result(line);
  }
  /// Ends the input and gives the exit status.
  int quit() {
    process_.closeInput();
    return process_.waitForEnd();
  }
  Process& process() { return process_; }

 private:
  Process process_;
};

}  // namespace lumora_end_to_end
