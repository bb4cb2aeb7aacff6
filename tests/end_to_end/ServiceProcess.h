#pragma once

#include <fstream>
#include <memory>

#include "tests/end_to_end/HostProcess.h"

namespace lumora_end_to_end {

/// A running lumora-service, with its files in a folder of the test.
class ServiceProcess {
 public:
  /// Starts it with the accounts, given by their identifiers; `option` is a further one with its value.
  ServiceProcess(const std::string& folder, const nlohmann::json& accounts,
                 const std::string& option = "--port", const std::string& value = "0")
      : folder_(folder) {
    writeAccounts(accounts);
    process_ = std::make_unique<Process>(std::vector<std::string>{LUMORA_SERVICE_PROGRAM, "--accounts",
                                                                  folder + "/accounts.json", "--data",
                                                                  folder + "/service", option, value});
    const auto line = process_->readLine();
    if (!line) throw std::runtime_error("the service did not start: " + process_->errorText());
    const nlohmann::json listening = nlohmann::json::parse(*line).at("listening");
    hostOptions_ = {"--connect", "127.0.0.1:" + listening.at("port").dump(), "--ca", listening.at("ca")};
  }

  /// Replaces the accounts; holds for the next request.
  void writeAccounts(const nlohmann::json& accounts) const {
    // Renamed into place, so that the service never reads half a file.
    const std::string file = folder_ + "/accounts.json";
    std::ofstream(file + ".new") << nlohmann::json{{"accounts", accounts}};
    std::filesystem::rename(file + ".new", file);
  }
  /// The options that lead a host to this service and, the last two of them, make it trust it.
  const std::vector<std::string>& hostOptions() const { return hostOptions_; }
  /// The event records that it has received, oldest first.
  Events received() const {
    return readEvents(folder_ + "/service/service.sqlite", "SELECT event FROM events ORDER BY id");
  }

 private:
  std::string folder_;
  std::unique_ptr<Process> process_;
  std::vector<std::string> hostOptions_;
};

}  // namespace lumora_end_to_end
