#pragma once

#include <memory>
#include <string>

#include "lumora/Platform/Mutex.h"
#include "lumora/Platform/URLLoader.h"

namespace lumora {

class CurlHandle;

/// Loads URLs by libcurl: http and https, HTTP/1.1, TLS 1.2 or newer.
///
/// One request after another uses the same connection; a request that comes while another runs takes a
/// connection of its own. A request is put on the wire at most once: a connection that dies gives an error,
/// never a second attempt. No cookies, no cache, no header but the given ones and those that HTTP needs
/// (`Host`, `Content-Length`). The host's SIGPIPE handling is neither changed nor met.
///
/// When the process ends by `exit`, a request under way fails as cancelled, a new one fails at once, and the
/// exit waits for them, one second at most, before the TLS library is taken down.
class CurlURLLoader : public URLLoader {
 public:
  /// `certificateAuthorityFile` is a PEM file to trust instead of the system's authorities; empty: the
  /// system's. `connectTo` is `HOST:PORT`: every connection goes there, while host name, SNI and certificate
  /// checks stay those of the URL; empty: where the URL says. The first one made initialises libcurl and its
  /// TLS library, for less than a millisecond.
  CurlURLLoader(std::string certificateAuthorityFile, std::string connectTo);
  ~CurlURLLoader() override;
  CurlURLLoader(const CurlURLLoader&) = delete;
  CurlURLLoader& operator=(const CurlURLLoader&) = delete;

  URLResponse load(const URLRequest& request) override;

 private:
  std::unique_ptr<CurlHandle> takeHandle();
  void keepHandle(std::unique_ptr<CurlHandle> handle);

  const std::string certificateAuthorityFile_;
  const std::string connectTo_;

  Mutex mutex_;
  /// The handle of the last request with its open connection; empty while a request uses it.
  std::unique_ptr<CurlHandle> keptHandle_ LUMORA_GUARDED_BY(mutex_);
};

}  // namespace lumora
