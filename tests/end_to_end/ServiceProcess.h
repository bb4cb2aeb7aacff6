#pragma once

#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "tests/end_to_end/EventRows.h"
#include "tests/end_to_end/Process.h"

namespace lumora_end_to_end {

/// A running lumora-service, with its files in a folder of the test.
class ServiceProcess {
 public:
  /// Starts it with the accounts, given by their identifiers.
  ServiceProcess(const std::string& folder, const nlohmann::json& accounts);

  /// Replaces the accounts; holds for the next request.
  void writeAccounts(const nlohmann::json& accounts) const;
  /// The options that lead a host to this service and make it trust it.
  std::vector<std::string> hostOptions() const;
  /// Those that lead there without trust.
  std::vector<std::string> connectOption() const;
  Events received() const { return receivedEvents(folder_ + "/service"); }

 private:
  std::string folder_;
  std::unique_ptr<Process> process_;
  std::string address_;
  std::string authorityFile_;
};

}  // namespace lumora_end_to_end
