#pragma once

#include <chrono>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "lumora/Platform/Export.h"

namespace lumora {

/// One request. The headers are sent in the order given.
struct URLRequest {
  std::string url;
  std::string method = "GET";
  std::vector<std::pair<std::string, std::string>> headers;
  /// Sent with the methods that carry a body.
  std::string body;
  /// How long the whole request may take. Without it a request fails after 60 seconds without a byte.
  std::optional<std::chrono::seconds> timeout;
  /// Where there is no `timeout`: how long the whole request may take at most, however steadily its bytes
  /// come. Without it that has no limit.
  std::optional<std::chrono::seconds> longestTransfer;
  /// Asks every cache on the way for a fresh answer (`Cache-Control: no-cache`, after the given headers).
  bool ignoresLocalCache = false;
  /// How many redirects are followed, to http and https only; 0 follows none.
  int maximumRedirects = 0;
  /// An answer with a larger body is a failed transfer; the connection ends there.
  std::size_t maximumBodySize = std::size_t{16} * 1024 * 1024;
};

/// The domain of errors that the URL loader itself reports.
inline constexpr std::string_view kURLErrorDomain = "NSURLErrorDomain";

/// The codes of that domain that callers tell apart; a loader may report others.
enum URLErrorCode : int {
  kURLErrorUnknown = -1,
  /// The request was aborted, or the process is ending.
  kURLErrorCancelled = -999,
  kURLErrorTimedOut = -1001,
  kURLErrorCannotFindHost = -1003,
  kURLErrorCannotConnectToHost = -1004,
  kURLErrorNotConnectedToInternet = -1009,
};

/// Why no answer came.
struct TransportError {
  std::string domain;
  int code = 0;
  /// A text for people.
  std::string description;
};

/// What a request came to: an answer, an error, or (a transfer that broke off) both.
struct URLResponse {
  /// The status code; 0 when no answer came.
  int statusCode = 0;
  std::vector<std::pair<std::string, std::string>> headers;
  std::string body;
  std::optional<TransportError> error;

  /// The header's value; names are compared without regard to case, and the last of several holds.
  LUMORA_EXPORT std::optional<std::string> header(std::string_view name) const;
};

/// Sends requests and waits for the answers.
///
/// Thread safety: `load` blocks its caller and may be called from several threads at once. Certificates and
/// host names are always verified. It never throws.
class LUMORA_EXPORT URLLoader {
 public:
  virtual ~URLLoader() = default;
  virtual URLResponse load(const URLRequest& request) = 0;
  /// With true every request fails as cancelled from now on, those under way at once, until it is called with
  /// false. Any thread; it does not wait. A loader that ignores it lets requests end by themselves, which a
  /// shutdown then waits for.
  virtual void setAborting(bool /*isAborting*/) {}
};

/// Passes everything to another loader; a base for a host that changes requests on their way.
class LUMORA_EXPORT ForwardingURLLoader : public URLLoader {
 public:
  explicit ForwardingURLLoader(URLLoader& next) : next_(next) {}
  URLResponse load(const URLRequest& request) override { return next_.load(request); }
  void setAborting(bool isAborting) override { next_.setAborting(isAborting); }

 private:
  URLLoader& next_;
};

}  // namespace lumora
