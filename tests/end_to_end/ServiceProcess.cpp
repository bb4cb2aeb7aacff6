#include "tests/end_to_end/ServiceProcess.h"

#include <filesystem>
#include <fstream>
#include <stdexcept>

namespace lumora_end_to_end {

using nlohmann::json;

ServiceProcess::ServiceProcess(const std::string& folder, const json& accounts) : folder_(folder) {
  writeAccounts(accounts);
  process_ = std::make_unique<Process>(std::vector<std::string>{LUMORA_SERVICE_PROGRAM, "--port", "0",
                                                                "--accounts", folder_ + "/accounts.json",
                                                                "--data", folder_ + "/service"});
  const auto line = process_->readLine();
  if (!line) throw std::runtime_error("the service did not start: " + process_->errorText());
  const json listening = json::parse(*line).at("listening");
  address_ = "127.0.0.1:" + std::to_string(listening.at("port").get<int>());
  authorityFile_ = listening.at("ca");
}

void ServiceProcess::writeAccounts(const json& accounts) const {
  // Renamed into place, so that the service never reads half a file.
  const std::string file = folder_ + "/accounts.json";
  std::ofstream(file + ".new") << json{{"accounts", accounts}};
  std::filesystem::rename(file + ".new", file);
}

std::vector<std::string> ServiceProcess::hostOptions() const {
  return {"--connect", address_, "--ca", authorityFile_};
}

std::vector<std::string> ServiceProcess::connectOption() const {
  return {"--connect", address_};
}

}  // namespace lumora_end_to_end
