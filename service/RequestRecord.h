#pragma once

#include <chrono>
#include <cstddef>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace lumora::service {

/// One request as the service saw it, and what it answered.
struct RequestRecord {
  std::chrono::system_clock::time_point time;
  std::string method;
  /// The path as it was sent, and what followed its question mark.
  std::string path;
  std::string query;
  /// Empty when the host name belongs to no account.
  std::string account;
  std::vector<std::pair<std::string, std::string>> headers;
  std::size_t bodySize = 0;
  /// 0 when the connection was broken off without an answer.
  int status = 0;
  /// How many events were stored; only for reports that were accepted.
  std::optional<std::size_t> events;
  /// Why it was refused; empty when it was not.
  std::string refusal;
};

}  // namespace lumora::service
