#pragma once

#include <atomic>
#include <optional>
#include <string>
#include <string_view>

#include "lumora/Platform/Mutex.h"
#include "lumora/Platform/URLLoader.h"
#include "lumora/Platform/Value.h"
#include "lumora/Util/LumoraError.h"

namespace lumora {

/// The only client of the service: a conditional GET and a POST, both of which accept a JSON object whose
/// "success" is true, or a number that is not zero, and nothing else.
///
/// Requests block the calling thread, one at a time: a second caller waits. Every failure is logged and gives
/// nothing, and is written to `error` where there is one; none is retried here.
class LMRNetworkManager {
 public:
  static LMRNetworkManager& sharedInstance();

  /// The whole URL of an endpoint path; nothing, with a line, when there is no account identifier.
  std::optional<std::string> getBaseUrlWithEndPoint(const std::string& endPoint) const;
  /// Adds the nine headers that identify this installation.
  void setHeaders(URLRequest& request) const;
  /// Not on the main thread. Remembers the entity tag of an accepted answer.
  std::optional<Dictionary> getDataFromEndpoint(const std::string& endPoint, LumoraError* error = nullptr);
  /// Always gives up after 10 seconds.
  std::optional<Dictionary> postDataSync(std::string data, const std::string& toEndpoint,
                                         LumoraError* error = nullptr);
  /// Logs a readable cause; nothing when there is no error.
  void printErrorMessage(const std::optional<TransportError>& error);

  /// Seconds that a GET may take; 10 at first.
  long timeoutInterval() const noexcept { return timeoutInterval_; }
  void setTimeoutInterval(long seconds) noexcept { timeoutInterval_ = seconds; }

 private:
  LMRNetworkManager() = default;

  RecursiveMutex mutex_;
  std::atomic<long> timeoutInterval_ = 10;
};

}  // namespace lumora
