#include "tests/end_to_end/HostProcess.h"

#include <sstream>
#include <stdexcept>

namespace lumora_end_to_end {

using nlohmann::json;

HostProcess::HostProcess(const std::filesystem::path& folder, const std::vector<std::string>& options)
    : process_(hostCommand(folder, options)) {
  const auto line = process_.readLine();
  if (line != R"({"ready":true})") {
    throw std::runtime_error("the host did not start: " + line.value_or("") + process_.errorText());
  }
}

Lines HostProcess::run(std::string_view command) {
  process_.write(std::string(command) + "\n");
  Lines lines;
  do {
    const auto line = process_.readLine();
    if (!line)
      throw std::runtime_error("the host ended during: " + std::string(command) + process_.errorText());
    lines.push_back(json::parse(*line));
  } while (!lines.back().contains("done") && !lines.back().contains("error"));
  return lines;
}

json HostProcess::result(std::string_view command) {
  const json last = run(command).back();
  if (!last.contains("done")) throw std::runtime_error(std::string(command) + " gave " + last.dump());
  return last.value("result", json());
}

void HostProcess::runAll(std::string_view commands) {
  std::istringstream lines{std::string(commands)};
  for (std::string line; std::getline(lines, line);) result(line);
}

int HostProcess::quit() {
  process_.write("quit\n");
  process_.closeInput();
  return process_.waitForEnd();
}

std::vector<std::string> hostCommand(const std::filesystem::path& folder,
                                     const std::vector<std::string>& options) {
  std::vector<std::string> command{LUMORA_HOST_PROGRAM, "--data", HostProcess::dataFolder(folder),
                                   "--keychain", folder / "keychain"};
  command.insert(command.end(), options.begin(), options.end());
  return command;
}

Lines readToEnd(Process& process) {
  Lines lines;
  while (const auto line = process.readLine()) lines.push_back(json::parse(*line));
  return lines;
}

Lines linesWith(const Lines& lines, std::string_view member) {
  Lines chosen;
  for (const json& line : lines) {
    if (line.contains(member)) chosen.push_back(line);
  }
  return chosen;
}

}  // namespace lumora_end_to_end
