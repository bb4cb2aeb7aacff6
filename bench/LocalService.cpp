#include "bench/LocalService.h"

#include <filesystem>
#include <fstream>

#include "bench/Roles.h"
#include "service/Service.h"

namespace lumora_bench {

using nlohmann::json;

namespace {

/// A second between two uploads is the shortest way to meet many of them.
json accountsFile(std::chrono::milliseconds uploadDelay) {
  const json config{{"syncTimeOut", 1}, {"secure_mode", false}, {"test_device", false}};
  json account{{"secret", kSecret}, {"blocked", false}, {"lst", 1}, {"config", config}};
  account["campaigns"] = json::array();
  if (uploadDelay.count() > 0) {
    account["misbehave"] = json{{"endpoint", "report"}, {"delay_ms", uploadDelay.count()}};
  }
  return {{"accounts", {{kAccount, std::move(account)}}}};
}

std::string preparedFolder(const std::string& folder, std::chrono::milliseconds uploadDelay) {
  std::filesystem::create_directories(folder);
  std::ofstream(folder + "/accounts.json") << accountsFile(uploadDelay);
  return folder;
}

}  // namespace

LocalService::LocalService(const std::string& folder, std::chrono::milliseconds uploadDelay)
    : process_("serve", {{"folder", preparedFolder(folder, uploadDelay)}}) {
  const json result = process_.result();
  address_ = "127.0.0.1:" + std::to_string(result.at("port").get<int>());
  authorityFile_ = result.at("authority");
}

json serve(const json& arguments) {
  const std::string folder = arguments.at("folder");
  lumora::service::ServiceOptions options;
  options.accountsFile = folder + "/accounts.json";
  options.dataDirectory = folder + "/data";
  const lumora::service::Service service(std::move(options));
  giveResult({{"port", service.port()}, {"authority", service.certificateAuthorityFile()}});
  waitForParent();
  return {};
}

}  // namespace lumora_bench
