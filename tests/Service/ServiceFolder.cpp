#include "tests/Service/ServiceFolder.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>

#include "service/PrivateFile.h"

namespace lumora::testing_support {

ServiceFolder::ServiceFolder() : path_(std::filesystem::temp_directory_path() / "lumora-service-XXXXXX") {
  if (::mkdtemp(path_.data()) == nullptr) throw std::runtime_error("no temporary folder");
  std::filesystem::create_directory(path_ + "/assets");
}

ServiceFolder::~ServiceFolder() {
  std::error_code error;
  std::filesystem::remove_all(path_, error);
}

void ServiceFolder::writeAccounts(const std::string& accounts) const {
  // A new file each time, so that the service notices however fast the changes come.
  service::writePrivateFile(path_ + "/accounts.json", R"({"accounts":)" + accounts + "}");
}

void ServiceFolder::writeAsset(const std::string& name, const std::string& content) const {
  std::ofstream(path_ + "/assets/" + name, std::ios::binary) << content;
}

service::ServiceOptions ServiceFolder::options() const {
  service::ServiceOptions options;
  options.accountsFile = path_ + "/accounts.json";
  options.dataDirectory = path_ + "/data";
  options.assetsDirectory = path_ + "/assets";
  return options;
}

}  // namespace lumora::testing_support
