#pragma once

#include <httplib.h>

#include <optional>
#include <string>
#include <string_view>

#include "service/Accounts.h"
#include "service/EventArchive.h"

namespace lumora::service {

/// What goes back to the client.
struct Answer {
  int status = 200;
  std::string body = {};
  std::string contentType = "application/json";
  /// The ETag header; none when empty.
  std::string tag = {};
  /// How many events an accepted report brought.
  std::optional<std::size_t> events = {};
  /// Why the request was refused, for the service's own line; empty when it was not.
  std::string refusal = {};
};

/// Where reports are posted; the only path that takes a body.
inline constexpr const char* kReportPath = "/report/events/";

/// The name by which misbehaviour picks the endpoint of a path; empty for a path without one.
std::string_view endpointOf(std::string_view path);

/// `{"success":false,"error_message":…}`
Answer refusal(std::string_view message, int status = 200);

/// Does what requests ask for. Any thread.
class Endpoints {
 public:
  Endpoints(EventArchive& archive, std::string assetsDirectory);

  /// `account` is null when the host name belongs to none.
  Answer answer(const httplib::Request& request, std::string_view body, const Account* account);

 private:
  static Answer sync(const httplib::Request& request, const Account& account);
  Answer report(const httplib::Request& request, std::string_view body, const Account& account);
  Answer registerTestDevice(const httplib::Request& request, const Account& account);
  Answer asset(const std::string& path) const;

  EventArchive& archive_;
  const std::string assetsDirectory_;
};

}  // namespace lumora::service
