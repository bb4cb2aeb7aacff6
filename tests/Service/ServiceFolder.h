#pragma once

#include <string>

#include "service/Service.h"

namespace lumora::testing_support {

/// A temporary folder with what a service needs; it is removed in the end.
class ServiceFolder {
 public:
  ServiceFolder();
  ~ServiceFolder();
  ServiceFolder(const ServiceFolder&) = delete;
  ServiceFolder& operator=(const ServiceFolder&) = delete;

  const std::string& path() const noexcept { return path_; }

  /// Replaces the accounts file; the text is the object of accounts by identifier.
  void writeAccounts(const std::string& accounts) const;
  void writeAsset(const std::string& name, const std::string& content) const;

  service::ServiceOptions options() const;

 private:
  std::string path_;
};

}  // namespace lumora::testing_support
