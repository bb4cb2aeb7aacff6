#pragma once

#include <curl/curl.h>

#include <memory>

namespace lumora {

/// A handle of libcurl with the connections that it keeps open, for one request at a time.
///
/// Its sockets are not inherited by programs that the host starts. (libcurl's own for a name look-up, open
/// only while that lasts, are out of reach.)
class CurlHandle {
 public:
  /// Null when there is no memory.
  static std::unique_ptr<CurlHandle> make();
  ~CurlHandle();
  CurlHandle(const CurlHandle&) = delete;
  CurlHandle& operator=(const CurlHandle&) = delete;

  /// For the request's options.
  CURL* easy() const noexcept { return easy_; }
  /// Makes ready for another request, with options of its own; the connections stay open. False when there is
  /// no memory: the handle can only be destroyed then.
  bool renew();
  /// Performs the request. It ends early, with CURLE_ABORTED_BY_CALLBACK, when the process ends or
  /// transfers are aborted.
  CURLcode perform();

 private:
  CurlHandle(CURLM* multi, CURLSH* sessions);
  CURLcode run();

  CURLM* const multi_;
  /// The TLS sessions, by which a connection that was closed is made again with less work.
  CURLSH* const sessions_;
  CURL* easy_ = nullptr;
};

}  // namespace lumora
