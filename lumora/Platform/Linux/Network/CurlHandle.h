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

  /// For the request's options. They are forgotten by `reset`; the connections stay open.
  CURL* easy() const noexcept { return easy_; }
  void reset();
  /// Performs the request. It ends early, with CURLE_ABORTED_BY_CALLBACK, when the process ends or
  /// transfers are aborted.
  CURLcode perform();

 private:
  CurlHandle(CURLM* multi, CURL* easy);
  CURLcode run();

  CURLM* const multi_;
  CURL* const easy_;
};

}  // namespace lumora
